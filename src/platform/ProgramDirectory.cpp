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
    const QString data = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    return pathFromUnicode(data.isEmpty() ? QDir::homePath() + u"/Kelvane"_s : data);
}

QString joinProgramPath(const QString& directory, const QString& part)
{
    return directory + QDir::separator() + part;
}

} // namespace Kelvane
