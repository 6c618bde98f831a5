#pragma once

#include <QTemporaryDir>

#include <memory>

namespace Kelvane::Testing {

/// Qt keeps its per-user runtime files under XDG_RUNTIME_DIR and warns on every start when it
/// is not set, as under root or in CI. A test program without one gets a private directory
/// (mode 0700, as Qt requires) for its run; a directory already set is left alone.
class RuntimeDirectory
{
public:
    RuntimeDirectory()
    {
        if (!qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR"))
            return;
        // QTemporaryDir makes its directory with mode 0700, the only mode Qt accepts here.
        m_directory = std::make_unique<QTemporaryDir>();
        if (m_directory->isValid())
            qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_directory->path()));
    }
    ~RuntimeDirectory()
    {
        if (m_directory)
            qunsetenv("XDG_RUNTIME_DIR");
    }
    RuntimeDirectory(const RuntimeDirectory&) = delete;
    RuntimeDirectory& operator=(const RuntimeDirectory&) = delete;

private:
    std::unique_ptr<QTemporaryDir> m_directory;
};

} // namespace Kelvane::Testing
