#include "platform/FileNames.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>

#ifdef Q_OS_WIN
#include <windows.h>
#else
#include <dirent.h>
#include <sys/stat.h>
#endif

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace fs = std::filesystem;

fs::path pathFromUnicode(const QString& text)
{
#ifdef Q_OS_WIN
    return fs::path(text.toStdWString());
#else
    return fs::path(QFile::encodeName(text).toStdString());
#endif
}

QString unicodeFromPath(const fs::path& path)
{
#ifdef Q_OS_WIN
    return QString::fromStdWString(path.native());
#else
    return QFile::decodeName(QByteArray::fromStdString(path.native()));
#endif
}

QString foldName(const QString& name)
{
    return name.toUpper();
}

bool isPlainName(const QString& name)
{
    if (name.isEmpty() || name == u"."_s || name == u".."_s || name.contains(QChar(u'\0')))
        return false;
    if (name.contains(u'/'))
        return false;
#ifdef Q_OS_WIN
    if (name.contains(u'\\') || name.contains(u':'))
        return false;
#endif
    return true;
}

QString fileNameText(const fs::path& path)
{
    return unicodeFromPath(path.filename());
}

std::optional<fs::path> findEntry(const fs::path& directory, const QString& name, EntryKind kind)
{
    const auto fits = [kind](const fs::path& path) {
        std::error_code error;
        return kind == EntryKind::Folder ? fs::is_directory(path, error) : fs::is_regular_file(path, error);
    };
    const fs::path exact = directory / pathFromUnicode(name);
    if (fits(exact))
        return exact;
    const QString key = foldName(name);
    std::optional<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator it(directory, error), end; !error && it != end; it.increment(error)) {
        const fs::path& path = it->path();
        if (foldName(fileNameText(path)) == key && (!found || path < *found) && fits(path))
            found = path;
    }
    return found;
}

std::vector<ListedFile> listDirectory(const fs::path& directory, ListingOrder order)
{
    std::vector<ListedFile> found;
#ifdef Q_OS_WIN
    for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
        std::error_code error;
        if (!entry.is_regular_file(error)) // follows a symbolic link to its file
            continue;
        const DWORD attributes = ::GetFileAttributesW(entry.path().c_str());
        if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM)))
            continue;
        QString text = unicodeFromPath(entry.path().filename());
        QString key = foldName(text);
        found.push_back({ entry.path().filename(), std::move(text), std::move(key) });
    }
#else
    // readdir gives each name's type, so only links and file systems that do not say are
    // asked again: listing 100,000 files stays one pass over the directory.
    DIR* stream = ::opendir(directory.c_str());
    if (!stream)
        throw fs::filesystem_error("list", directory, std::error_code(errno, std::generic_category()));
    const int descriptor = ::dirfd(stream);
    while (const dirent* entry = ::readdir(stream)) {
        if (entry->d_name[0] == '.')
            continue;
        bool regular = entry->d_type == DT_REG;
        if (entry->d_type == DT_LNK || entry->d_type == DT_UNKNOWN) {
            struct stat info
            {
            };
            regular = ::fstatat(descriptor, entry->d_name, &info, 0) == 0 && S_ISREG(info.st_mode);
        }
        if (!regular)
            continue;
        const QByteArray bytes
            = QByteArray::fromRawData(entry->d_name, static_cast<qsizetype>(std::strlen(entry->d_name)));
        QString text = QFile::decodeName(bytes);
        QString key = foldName(text);
        found.push_back({ fs::path(entry->d_name), std::move(text), std::move(key) });
    }
    ::closedir(stream);
#endif
    if (order == ListingOrder::Unsorted)
        return found;
    std::sort(found.begin(), found.end(), [](const ListedFile& a, const ListedFile& b) {
        const int order = a.key.compare(b.key);
        return order != 0 ? order < 0 : a.name.native() < b.name.native();
    });
    return found;
}

std::vector<fs::path> listDirectoryFiles(const fs::path& directory)
{
    std::vector<ListedFile> listed = listDirectory(directory);
    std::vector<fs::path> names;
    names.reserve(listed.size());
    for (ListedFile& file : listed)
        names.push_back(std::move(file.name));
    return names;
}

} // namespace Kelvane
