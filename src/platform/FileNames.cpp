#include "platform/FileNames.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <future>

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

std::vector<ListedFile> listDirectory(const fs::path& directory, ListingOrder order, ListingDetail detail)
{
    const bool identities = detail == ListingDetail::Identities;
    std::vector<ListedFile> found;
#ifdef Q_OS_WIN
    for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
        std::error_code error;
        if (!entry.is_regular_file(error)) // follows a symbolic link to its file
            continue;
        const DWORD attributes = ::GetFileAttributesW(entry.path().c_str());
        if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM)))
            continue;
        FileIdentity identity;
        if (identities) {
            const std::optional<FileIdentity> taken = identityOf(entry.path());
            if (!taken)
                continue;
            identity = *taken;
        }
        QString text = unicodeFromPath(entry.path().filename());
        QString key = foldName(text);
        found.push_back({ entry.path().filename(), std::move(text), std::move(key), identity });
    }
#else
    // readdir gives each name's type, so only links and file systems that do not say are
    // asked again: listing 100,000 files stays one pass over the directory. The names are
    // gathered into one buffer first, so the listing is built at its final size.
    DIR* stream = ::opendir(directory.c_str());
    if (!stream)
        throw fs::filesystem_error("list", directory, std::error_code(errno, std::generic_category()));
    struct Found
    {
        std::size_t offset;
        std::size_t length;
        bool known; // a regular file by its type alone
        bool regular = false;
        FileIdentity identity;
    };
    std::string names;
    std::vector<Found> raw;
    while (const dirent* entry = ::readdir(stream)) {
        if (entry->d_name[0] == '.')
            continue;
        if (entry->d_type != DT_REG && entry->d_type != DT_LNK && entry->d_type != DT_UNKNOWN)
            continue;
        const std::size_t length = std::strlen(entry->d_name);
        raw.push_back({ names.size(), length, entry->d_type == DT_REG && !identities, false, {} });
        names.append(entry->d_name, length);
        names.push_back('\0');
    }
    // The stat calls, by name within the open directory; a large directory's are shared
    // with a second thread, the kernel's look-ups being most of their time.
    const int descriptor = ::dirfd(stream);
    const auto look = [&](std::size_t from, std::size_t to) {
        for (std::size_t i = from; i < to; ++i) {
            Found& file = raw[i];
            if (file.known) {
                file.regular = true;
                continue;
            }
            struct stat info
            {
            };
            file.regular = ::fstatat(descriptor, names.data() + file.offset, &info, 0) == 0 && S_ISREG(info.st_mode);
            if (file.regular && identities)
                file.identity = identityOf(info);
        }
    };
    if (identities && raw.size() >= 1024) {
        auto second = std::async(std::launch::async, look, raw.size() / 2, raw.size());
        look(0, raw.size() / 2);
        second.get();
    } else {
        look(0, raw.size());
    }
    ::closedir(stream);
    std::erase_if(raw, [](const Found& file) { return !file.regular; });
    found.reserve(raw.size());
    for (const Found& file : raw) {
        std::string name(names, file.offset, file.length);
        QString text = QFile::decodeName(QByteArray::fromRawData(name.data(), static_cast<qsizetype>(name.size())));
        QString key = foldName(text);
        found.push_back({ fs::path(std::move(name)), std::move(text), std::move(key), file.identity });
    }
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
