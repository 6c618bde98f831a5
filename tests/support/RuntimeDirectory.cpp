#include "support/RuntimeDirectory.h"

namespace Kelvane::Testing {

RuntimeDirectory::RuntimeDirectory()
{
    if (!qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR"))
        return;
    // QTemporaryDir makes its directory with mode 0700, the only mode Qt accepts here.
    m_directory = std::make_unique<QTemporaryDir>();
    if (m_directory->isValid())
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_directory->path()));
}

RuntimeDirectory::~RuntimeDirectory()
{
    if (m_directory)
        qunsetenv("XDG_RUNTIME_DIR");
}

} // namespace Kelvane::Testing
