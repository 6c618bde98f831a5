#include "platform/ProgramDirectory.h"

#include "platform/FileNames.h"

#include <QDir>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace Kelvane {

std::filesystem::path programDirectory()
{
    const QString home = qEnvironmentVariable("KELVANE_HOME");
    if (!home.isEmpty())
        return pathFromUnicode(home);
    QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (data.isEmpty())
        data = QDir::homePath();
    return pathFromUnicode(data + u"/kelvane"_s);
}

QString joinProgramPath(const QString& directory, const QString& part)
{
    return directory + QDir::separator() + part;
}

} // namespace Kelvane
