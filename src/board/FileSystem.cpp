#include "board/FileSystem.h"

#include "board/FileLookup.h"
#include "board/UserPort.h"
#include "platform/FileNames.h"

#ifndef Q_OS_WIN
#include <sys/stat.h>
#include <unistd.h>
#endif

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

bool createOneDirectory(const fs::path& path)
{
    std::error_code error;
    return fs::create_directory(path, error) && !error;
}

MakeDirectoryFunction makeDirectory = createOneDirectory;

bool hasNul(const fs::path& path)
{
    return path.native().find(fs::path::value_type('\0')) != fs::path::string_type::npos;
}

bool isDirectory(const fs::path& path)
{
    std::error_code error;
    return fs::is_directory(path, error);
}

} // namespace

void setMakeDirectoryFunction(MakeDirectoryFunction function)
{
    makeDirectory = function ? function : createOneDirectory;
}

bool IsValidPath(const fs::path& path)
{
    if (path.empty() || hasNul(path) || !isDirectory(path))
        return false;
#ifdef Q_OS_WIN
    return true;
#else
    return ::access(path.c_str(), X_OK) == 0;
#endif
}

bool MakePath(const fs::path& path)
{
    try {
        if (path.empty() || hasNul(path))
            return false;
        if (isDirectory(path))
            return true;
        if (makeDirectory(path))
            return true;
        // Level by level after the root: each missing level is created in turn.
        fs::path partial = path.root_path();
        const fs::path relative = path.relative_path();
        std::vector<fs::path> levels(relative.begin(), relative.end());
        if (!levels.empty() && levels.back().empty())
            levels.pop_back(); // a trailing separator
        for (std::size_t i = 0; i + 1 < levels.size(); ++i) {
            partial /= levels[i];
            if (!isDirectory(partial) && !makeDirectory(partial))
                return false;
        }
        return makeDirectory(path) || isDirectory(path);
    } catch (...) {
        return false;
    }
}

bool ClearAttributes(const fs::path& path)
{
    std::error_code error;
    const fs::file_status status = fs::symlink_status(path, error);
    if (error || !fs::exists(status))
        return false;
    if (fs::is_symlink(status))
        return true; // removed as a link, whatever its target's mode
    if ((status.permissions() & fs::perms::owner_write) == fs::perms::none) {
        fs::permissions(path, fs::perms::owner_write, fs::perm_options::add, error);
        if (error)
            return false;
    }
    return true;
}

QString ShortPathOf(const fs::path& path, const DirectoryListing& listing)
{
    std::error_code error;
    if (!path.has_filename() || !fs::exists(fs::symlink_status(path, error)))
        return QString(256, u' ');
    const QString alias = listing.aliasOf(fileNameText(path));
    return unicodeFromPath(path.parent_path() / pathFromUnicode(alias));
}

QString BrowseForFolder(UserPort& port, const QString& prompt)
{
    QString chosen = port.browseForFolder(prompt);
    const qsizetype nul = chosen.indexOf(QChar(u'\0'));
    if (nul >= 0)
        chosen.truncate(nul);
    return chosen;
}

QString driveRoot(const fs::path& path)
{
#ifdef Q_OS_WIN
    return unicodeFromPath(path).left(3);
#else
    std::error_code error;
    fs::path probe = path.empty() ? fs::path("/") : fs::absolute(path, error);
    while (!fs::exists(probe, error) && probe.has_relative_path())
        probe = probe.parent_path();
    struct stat info
    {
    };
    if (::stat(probe.c_str(), &info) != 0)
        return u"/"_s;
    // The mount point: the last parent on the same device.
    while (probe.has_relative_path()) {
        struct stat parentInfo
        {
        };
        const fs::path parent = probe.parent_path();
        if (::stat(parent.c_str(), &parentInfo) != 0 || parentInfo.st_dev != info.st_dev)
            break;
        probe = parent;
    }
    QString text = unicodeFromPath(probe);
    if (!text.endsWith(u'/'))
        text += u'/';
    return text;
#endif
}

} // namespace Kelvane
