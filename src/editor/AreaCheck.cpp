#include "editor/AreaCheck.h"

#include "board/AreaRecords.h"
#include "board/BasicText.h"
#include "board/FileDates.h"
#include "board/FileLookup.h"
#include "board/Session.h"
#include "editor/Description.h"
#include "index/MakeIndex.h"
#include "platform/CodePage.h"
#include "platform/FileIdentity.h"
#include "platform/FileNames.h"

#include <QCryptographicHash>
#include <QFile>
#include <QHash>
#include <QSet>

#include <algorithm>
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
    // The listings take every file's size and date in their own pass, by name within the
    // open directory: each file is stat'ed once, and nothing is looked up by its whole path.
    FileLookup lookup(page, ListingDetail::Identities);

    // One pass over the area's directories: every file is looked at once, for whether the
    // list holds it and whether another file shares its size. A name the file system's
    // encoding cannot spell back is never found by its text, so the check leaves it out.
    struct OnDisk
    {
        const fs::path* directory;
        const DirectoryListing* listing;
        std::size_t index;
    };
    std::vector<OnDisk> onDisk;
    std::unordered_map<const DirectoryListing*, std::vector<bool>> spelled; // per listing, per file
    QSet<QString> seenDirectories;
    for (const fs::path& directory : area.FilePaths) {
        if (directory.empty() || seenDirectories.contains(unicodeFromPath(directory)))
            continue;
        seenDirectories.insert(unicodeFromPath(directory));
        const DirectoryListing& listing = lookup.listing(directory);
        std::vector<bool>& visible = spelled[&listing];
        const std::vector<QString>& texts = listing.names();
        visible.assign(texts.size(), true);
        for (std::size_t i = 0; i < texts.size(); ++i) {
            if (texts[i].contains(QChar::ReplacementCharacter)
                && pathFromUnicode(texts[i]).native() != listing.namesOnDisk()[i].native()) {
                visible[i] = false;
                continue;
            }
            onDisk.push_back({ &directory, &listing, i });
        }
    }
    const auto pathOf = [](const OnDisk& file) {
        return *file.directory / file.listing->namesOnDisk()[file.index];
    };

    QHash<QString, int> listedCount;
    listedCount.reserve(static_cast<qsizetype>(entries.size()));
    for (const Entry& entry : entries) {
        const QString text = page.toUnicode(trimSpaces(entry.FileName));
        if (++listedCount[foldName(text)] == 2)
            report.listedTwice.push_back(entry.FileName);
        const auto found = lookup.locateInSlots(area.FilePaths, text);
        // A directory left out as the same as one before it holds none of the files seen.
        const auto listed = found ? spelled.find(found->listing) : spelled.end();
        if (listed == spelled.end() || !listed->second[found->index]) {
            report.missingFiles.push_back(entry.FileName);
            continue;
        }
        const FileIdentity& file = found->listing->identities()[found->index];
        if (file.size == 0)
            report.emptyFiles.push_back(entry.FileName);
        const std::string size = std::to_string(file.size);
        if (plainNumber(Val(entry.Size)) != size)
            report.sizeMismatches.push_back({ entry.FileName, std::string(trimSpaces(entry.Size)), size });
        const std::string date = listDate(modifiedSeconds(file));
        if (std::string(trimSpaces(entry.Date)) != date)
            report.dateMismatches.push_back({ entry.FileName, entry.Date, date });
    }

    const QString skipList = foldName(unicodeFromPath(PathUtility::FileNameOf(area.FileListPath)));
    const QString skipIndex = foldName(unicodeFromPath(PathUtility::FileNameOf(area.IndexPath)));
    for (const OnDisk& file : onDisk) {
        const QString& upper = file.listing->keys()[file.index];
        if (upper == skipList || upper == skipIndex || listedCount.contains(upper))
            continue;
        const std::string name = upper.toStdString();
        if (!matchesPattern(name, "*.BAK") && !matchesPattern(name, "FILES.*"))
            report.unlistedFiles.push_back(pathOf(file));
    }
    std::sort(report.unlistedFiles.begin(), report.unlistedFiles.end());
    // Identical content: only files that share a size are read at all, each size's files in
    // the order the directories gave them.
    std::vector<std::pair<std::uintmax_t, std::size_t>> bySize; // size, place in onDisk
    bySize.reserve(onDisk.size());
    for (std::size_t i = 0; i < onDisk.size(); ++i)
        bySize.emplace_back(onDisk[i].listing->identities()[onDisk[i].index].size, i);
    std::sort(bySize.begin(), bySize.end());
    for (std::size_t first = 0; first < bySize.size();) {
        std::size_t end = first + 1;
        while (end < bySize.size() && bySize[end].first == bySize[first].first)
            ++end;
        if (end - first > 1) {
            std::vector<fs::path> files;
            for (std::size_t i = first; i < end; ++i)
                files.push_back(pathOf(onDisk[bySize[i].second]));
            identicalGroups(files, report.sameContent);
        }
        first = end;
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
