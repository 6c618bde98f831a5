#include "editor/AreaCheck.h"

#include "board/AreaRecords.h"
#include "board/BasicText.h"
#include "board/FileDates.h"
#include "board/FileLookup.h"
#include "board/Session.h"
#include "editor/Description.h"
#include "index/MakeIndex.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"

#include <QCryptographicHash>
#include <QFile>
#include <QHash>
#include <QSet>

#include <algorithm>
#include <map>
#include <sys/stat.h>
#include <unordered_map>

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

// The hash of a file's first bytes (whole: 0), empty when it cannot be read.
QByteArray contentHash(const fs::path& file, qint64 limit)
{
    QFile in(unicodeFromPath(file));
    if (!in.open(QIODevice::ReadOnly))
        return {};
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (limit > 0) {
        hash.addData(in.read(limit));
    } else if (!hash.addData(&in)) {
        return {};
    }
    return hash.result();
}

// Groups of files of the same content among files of one size: the first 4 KiB sort out
// nearly all, so whole files are read only where those agree.
void identicalGroups(const std::vector<fs::path>& files, std::vector<std::vector<fs::path>>& groups)
{
    QHash<QByteArray, std::vector<fs::path>> byStart;
    for (const fs::path& file : files)
        byStart[contentHash(file, 4096)].push_back(file);
    for (auto start = byStart.cbegin(); start != byStart.cend(); ++start) {
        if (start.value().size() < 2 || start.key().isEmpty())
            continue;
        QHash<QByteArray, std::vector<fs::path>> byContent;
        for (const fs::path& file : start.value())
            byContent[contentHash(file, 0)].push_back(file);
        for (auto same = byContent.cbegin(); same != byContent.cend(); ++same) {
            if (same.value().size() > 1 && !same.key().isEmpty())
                groups.push_back(same.value());
        }
    }
}

} // namespace

AreaCheckReport checkArea(Session& session, const EntryList& entries)
{
    AreaCheckReport report;
    const CodePage& page = session.codePage();
    const CurrentArea& area = session.area;
    FileLookup lookup(page);

    // One pass over the area's directories: every file is looked at once, for its size and
    // date, whether the list holds it, and whether another file shares its size.
    struct Seen
    {
        std::uintmax_t size;
        std::time_t written;
    };
    std::unordered_map<fs::path::string_type, Seen> seen;
    std::map<std::uintmax_t, std::vector<fs::path>> bySize;
    std::vector<std::pair<fs::path, QString>> onDisk; // path, upper-case name
    QSet<QString> seenDirectories;
    for (const fs::path& directory : area.FilePaths) {
        if (directory.empty() || seenDirectories.contains(unicodeFromPath(directory)))
            continue;
        seenDirectories.insert(unicodeFromPath(directory));
        const DirectoryListing& listing = lookup.listing(directory);
        for (const QString& text : listing.names()) {
            const fs::path file = directory / pathFromUnicode(text);
            struct stat info
            {
            };
            if (::stat(file.c_str(), &info) != 0)
                continue;
            const auto size = static_cast<std::uintmax_t>(info.st_size);
            seen.emplace(file.native(), Seen { size, info.st_mtime });
            bySize[size].push_back(file);
            onDisk.emplace_back(file, foldName(text));
        }
    }

    QHash<QString, int> listedCount;
    for (const Entry& entry : entries) {
        const QString key = foldName(page.toUnicode(trimSpaces(entry.FileName)));
        if (++listedCount[key] == 2)
            report.listedTwice.push_back(entry.FileName);
        const auto found = lookup.findInSlots(area.FilePaths, trimSpaces(entry.FileName));
        const auto file = found ? seen.find(found->second.native()) : seen.end();
        if (file == seen.end()) {
            report.missingFiles.push_back(entry.FileName);
            continue;
        }
        if (file->second.size == 0)
            report.emptyFiles.push_back(entry.FileName);
        const std::string size = std::to_string(file->second.size);
        if (plainNumber(Val(entry.Size)) != size)
            report.sizeMismatches.push_back({ entry.FileName, std::string(trimSpaces(entry.Size)), size });
        const std::string date = listDate(file->second.written);
        if (std::string(trimSpaces(entry.Date)) != date)
            report.dateMismatches.push_back({ entry.FileName, entry.Date, date });
    }

    const QString skipList = foldName(unicodeFromPath(PathUtility::FileNameOf(area.FileListPath)));
    const QString skipIndex = foldName(unicodeFromPath(PathUtility::FileNameOf(area.IndexPath)));
    for (const auto& [file, upper] : onDisk) {
        if (upper == skipList || upper == skipIndex || matchesPattern(upper.toStdString(), "*.BAK")
            || matchesPattern(upper.toStdString(), "FILES.*"))
            continue;
        if (!listedCount.contains(upper))
            report.unlistedFiles.push_back(file);
    }
    std::sort(report.unlistedFiles.begin(), report.unlistedFiles.end());
    // Identical content: only files that share a size are read at all.
    for (const auto& [size, files] : bySize) {
        if (files.size() > 1)
            identicalGroups(files, report.sameContent);
    }
    std::sort(report.sameContent.begin(), report.sameContent.end());
    return report;
}

AreaArchiveReport testAreaArchives(
    Session& session,
    const std::function<bool(std::size_t done, std::size_t total, const fs::path& file)>& progress)
{
    AreaArchiveReport report;
    const CodePage& page = session.codePage();
    FileLookup lookup(page);
    std::vector<fs::path> archives;
    QSet<QString> seenDirectories;
    for (const fs::path& directory : session.area.FilePaths) {
        if (directory.empty() || seenDirectories.contains(unicodeFromPath(directory)))
            continue;
        seenDirectories.insert(unicodeFromPath(directory));
        for (const QString& name : lookup.listing(directory).names()) {
            if (isReadDizArchiveName(foldName(name).toStdString()))
                archives.push_back(directory / pathFromUnicode(name));
        }
    }
    for (std::size_t i = 0; i < archives.size(); ++i) {
        if (progress && !progress(i, archives.size(), archives[i])) {
            report.stopped = true;
            break;
        }
        ArchiveTest test = testArchive(archives[i]);
        ++report.tested;
        if (test.state != ArchiveTest::State::Good)
            report.bad.push_back({ archives[i], std::move(test) });
    }
    return report;
}

const char* archiveStateText(ArchiveTest::State state)
{
    switch (state) {
    case ArchiveTest::State::Good:
        return "good";
    case ArchiveTest::State::Damaged:
        return "damaged";
    case ArchiveTest::State::Encrypted:
        return "encrypted";
    case ArchiveTest::State::Unreadable:
        break;
    }
    return "unreadable";
}

} // namespace Kelvane
