#include "boardwide/DupesCollect.h"

#include "board/FileSystem.h"
#include "boardwide/BoardProgress.h"
#include "index/MakeIndex.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"
#include "platform/ShortNames.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <condition_variable>
#include <exception>
#include <future>
#include <mutex>
#include <numeric>
#include <unordered_map>

#ifndef Q_OS_WIN
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#endif

using namespace Qt::StringLiterals;

namespace Kelvane::DupesDetail {

namespace fs = std::filesystem;

std::uintmax_t sizeOfEntry(const std::string& size)
{
    const std::size_t start = size.find_first_not_of(' ');
    std::uintmax_t value = 0;
    if (start != std::string::npos)
        std::from_chars(size.data() + start, size.data() + size.size(), value);
    return value;
}

std::vector<std::size_t> claimedFiles(const std::vector<std::string_view>& fileKeys,
                                      const std::vector<std::string_view>& entryKeys)
{
    std::vector<std::uint32_t> files(fileKeys.size());
    std::iota(files.begin(), files.end(), 0U);
    const auto byFileKey = [&](std::uint32_t a, std::uint32_t b) { return fileKeys[a] < fileKeys[b]; };
    if (!std::is_sorted(files.begin(), files.end(), byFileKey))
        std::stable_sort(files.begin(), files.end(), byFileKey);
    std::vector<std::uint32_t> entries(entryKeys.size());
    std::iota(entries.begin(), entries.end(), 0U);
    const auto byEntryKey = [&](std::uint32_t a, std::uint32_t b) {
        const int order = entryKeys[a].compare(entryKeys[b]);
        return order != 0 ? order < 0 : a < b;
    };
    if (!std::is_sorted(entries.begin(), entries.end(), byEntryKey))
        std::sort(entries.begin(), entries.end(), byEntryKey);
    std::vector<std::size_t> claimed(entryKeys.size(), None);
    for (std::size_t f = 0, e = 0; f < files.size() && e < entries.size();) {
        const int order = fileKeys[files[f]].compare(entryKeys[entries[e]]);
        if (order < 0) {
            ++f;
        } else if (order > 0) {
            ++e;
        } else {
            claimed[entries[e++]] = files[f++];
        }
    }
    return claimed;
}

void CopyCollector::areaRead(AreaContents& contents)
{
    const BoardArea& area = contents.area;
    const std::size_t base = copies.size();
    std::vector<std::string_view> fileKeys;
    fileKeys.reserve(contents.files.size());
    std::vector<std::unique_ptr<DirectoryAliases>> aliases(DirectorySlots);
    for (const AreaFile& file : contents.files) {
        DupeCopy copy;
        copy.area = area.number;
        copy.slot = file.slot;
        copy.diskName = file.name.native();
        copy.size = file.identity.size;
        copy.identity = file.identity;
        QString text = file.text;
        const bool showable = m_page.canEncode(text);
        if (!showable || !isValidShortName(text.toUpper(), m_page)) {
            const QString alias = aliasesOf(contents, file.slot, aliases).aliasOf(text);
            if (!showable) {
                // The scan lists such a file by its alias, which the page can show.
                m_report.notices.push_back(
                    u"area %1: the name of %2 cannot be shown in %3; it is taken as %4"_s.arg(area.number)
                        .arg(unicodeFromPath(area.directories[static_cast<std::size_t>(file.slot)] / file.name),
                             m_page.name(), alias));
                text = alias;
            } else {
                m_longByAlias.push_back({ m_page.upper(m_page.fromUnicode(alias)), copies.size() });
            }
        }
        copy.name = m_page.fromUnicode(text);
        fileKeys.push_back(m_keys.push_back(m_page.upper(copy.name)));
        copies.push_back(std::move(copy));
    }
    std::vector<std::string> entryKeys;
    entryKeys.reserve(contents.entries.size());
    for (const Entry& entry : contents.entries)
        entryKeys.push_back(m_page.upper(entry.FileName));
    const std::vector<std::size_t> claimed
        = claimedFiles(fileKeys, std::vector<std::string_view>(entryKeys.begin(), entryKeys.end()));
    for (std::size_t i = 0; i < contents.entries.size(); ++i) {
        const Entry& entry = contents.entries[i];
        if (claimed[i] != None) {
            DupeCopy& copy = copies[base + claimed[i]];
            copy.entry = static_cast<int>(i);
            copy.name = entry.FileName;
            copy.date = entry.Date;
            if (!m_identities)
                copy.size = sizeOfEntry(entry.Size); // until the file's own is taken
            continue;
        }
        DupeCopy copy;
        copy.area = area.number;
        copy.entry = static_cast<int>(i);
        copy.name = entry.FileName;
        copy.date = entry.Date;
        copy.size = sizeOfEntry(entry.Size);
        m_keys.push_back(std::move(entryKeys[i]));
        copies.push_back(std::move(copy));
    }
}

const Chunked<std::string>& CopyCollector::nameKeys()
{
    std::unordered_map<std::string, std::string> longOf;
    for (const auto& [alias, index] : m_longByAlias) {
        const std::string& key = m_keys[index];
        const auto [at, added] = longOf.emplace(alias, key);
        if (!added && at->second != key)
            at->second.clear(); // two long names share the alias: it stands for neither
    }
    if (longOf.empty())
        return m_keys;
    m_keys.forEach([&](std::string& key) {
        if (key.find('~') != std::string::npos) {
            const auto found = longOf.find(key);
            if (found != longOf.end() && !found->second.empty())
                key = found->second;
        }
    });
    return m_keys;
}

const DirectoryAliases& CopyCollector::aliasesOf(const AreaContents& contents,
                                                 int slot,
                                                 std::vector<std::unique_ptr<DirectoryAliases>>& aliases) const
{
    std::unique_ptr<DirectoryAliases>& made = aliases[static_cast<std::size_t>(slot)];
    if (!made) {
        std::vector<QString> names;
        for (const AreaFile& file : contents.files) {
            if (file.slot == slot)
                names.push_back(file.text);
        }
        made = std::make_unique<DirectoryAliases>(names, m_page);
    }
    return *made;
}

namespace {

#ifndef Q_OS_WIN
// The files of an area's directories when every name is plain ASCII: then a name's text, its
// bytes in any code page and its upper case (the listing's order and the entries' key) are
// the bytes themselves, ASCII letters upper-cased, and no name needs an alias. False for an
// area that needs the general path: a name outside ASCII, or a directory that cannot be
// listed (whose problem the general path words).
bool scanPlainFiles(const BoardArea& area, const CodePage& page, const EntryList& entries, ScannedArea& scanned)
{
    const std::string listName = foldName(unicodeFromPath(PathUtility::FileNameOf(area.filesList))).toStdString();
    const std::string indexName = foldName(unicodeFromPath(PathUtility::FileNameOf(area.index))).toStdString();
    struct Raw
    {
        std::uint32_t offset;
        std::uint32_t length;
        int slot;
        bool linked;
        FileIdentity identity;
    };
    std::string names; // each name, then its upper case of the same length
    std::vector<Raw> files;
    for (int slot = 0; slot < DirectorySlots; ++slot) {
        const fs::path& directory = area.directories[static_cast<std::size_t>(slot)];
        if (directory.empty() || (slot > 0 && !IsValidPath(directory)))
            continue;
        DIR* stream = ::opendir(directory.c_str());
        if (!stream)
            return false;
        struct stat own
        {
        };
        if (::fstat(::dirfd(stream), &own) == 0)
            scanned.directories.emplace_back(slot, static_cast<std::uint64_t>(own.st_dev),
                                             static_cast<std::uint64_t>(own.st_ino));
        else
            scanned.anyFileUnclear = true;
        const std::size_t first = files.size();
        bool plain = true;
        while (const dirent* entry = ::readdir(stream)) {
            if (entry->d_name[0] == '.')
                continue;
            if (entry->d_type != DT_REG && entry->d_type != DT_LNK && entry->d_type != DT_UNKNOWN)
                continue;
            if (entry->d_type != DT_REG)
                scanned.anyFileUnclear = true;
            const std::string_view name(entry->d_name);
            if (std::any_of(name.begin(), name.end(),
                            [](char byte) { return static_cast<unsigned char>(byte) >= 0x80; })) {
                plain = false;
                break;
            }
            struct stat info
            {
            };
            if (::fstatat(::dirfd(stream), entry->d_name, &info, 0) != 0 || !S_ISREG(info.st_mode))
                continue;
            const auto offset = static_cast<std::uint32_t>(names.size());
            names.append(name);
            for (const char byte : name)
                names.push_back(page.upper(byte));
            const std::string_view key(names.data() + offset + name.size(), name.size());
            // The board's own files, passed by as the scan passes them by.
            if (key == listName || key == indexName || matchesPattern(key, "*.BAK") || matchesPattern(key, "FILES.*")) {
                names.resize(offset);
                continue;
            }
            files.push_back(
                { offset, static_cast<std::uint32_t>(name.size()), slot, info.st_nlink > 1, identityOf(info) });
        }
        ::closedir(stream);
        if (!plain)
            return false;
        const auto keyOf
            = [&](const Raw& file) { return std::string_view(names.data() + file.offset + file.length, file.length); };
        const auto nameOf = [&](const Raw& file) { return std::string_view(names.data() + file.offset, file.length); };
        std::sort(files.begin() + static_cast<std::ptrdiff_t>(first), files.end(), [&](const Raw& a, const Raw& b) {
            const int order = keyOf(a).compare(keyOf(b));
            return order != 0 ? order < 0 : nameOf(a) < nameOf(b);
        });
    }
    std::vector<std::string_view> fileKeys;
    fileKeys.reserve(files.size());
    for (const Raw& file : files)
        fileKeys.emplace_back(names.data() + file.offset + file.length, file.length);
    std::string entryText; // each entry's upper-case name
    std::size_t length = 0;
    for (const Entry& entry : entries)
        length += entry.FileName.size();
    entryText.reserve(length);
    std::vector<std::string_view> entryKeys;
    entryKeys.reserve(entries.size());
    for (const Entry& entry : entries) {
        const std::size_t at = entryText.size();
        for (const char byte : entry.FileName)
            entryText.push_back(page.upper(byte));
        entryKeys.emplace_back(entryText.data() + at, entry.FileName.size());
    }
    std::vector<int> claimedBy(files.size(), -1);
    const std::vector<std::size_t> claimed = claimedFiles(fileKeys, entryKeys);
    for (std::size_t i = 0; i < claimed.size(); ++i) {
        if (claimed[i] != None)
            claimedBy[claimed[i]] = static_cast<int>(i);
    }
    scanned.files.reserve(files.size());
    scanned.text.reserve(names.size() + files.size() * 16);
    for (std::size_t i = 0; i < files.size(); ++i) {
        const Raw& file = files[i];
        const std::string_view name(names.data() + file.offset, file.length);
        if (claimedBy[i] < 0) {
            scanned.add(file.identity, file.slot, file.linked, name, -1, name, {});
        } else {
            const Entry& entry = entries[static_cast<std::size_t>(claimedBy[i])];
            scanned.add(file.identity, file.slot, file.linked, name, claimedBy[i], entry.FileName, entry.Date);
        }
    }
    return true;
}
#endif

// One area for the content search: its files with their identities and claims, or its problem.
ScannedArea scanArea(const Board& board, const BoardArea& area)
{
    const CodePage& page = board.codePage();
    ScannedArea scanned;
    scanned.number = area.number;
#ifndef Q_OS_WIN
    {
        AreaContents contents { area, 0, 0, {}, false, {} };
        scanned.problem = BoardReader(board, { .entries = true, .files = false }).readArea(area, contents);
        if (scanned.problem)
            return scanned;
        scanned.entries = contents.entries.size();
        if (scanPlainFiles(area, page, contents.entries, scanned))
            return scanned;
        scanned.clearFiles();
    }
#endif
    // The general path: the copies as the full search gathers them, their files kept.
    AreaContents contents { area, 0, 0, {}, false, {} };
    scanned.problem
        = BoardReader(board, { .entries = true, .files = true, .identities = true }).readArea(area, contents);
    if (scanned.problem)
        return scanned;
    scanned.entries = contents.entries.size();
    DupesReport report;
    CopyCollector collector(page, report, true);
    collector.areaRead(contents);
    scanned.notices = std::move(report.notices);
    scanned.anyFileUnclear = true;
    collector.copies.forEach([&](const DupeCopy& copy) {
        if (copy.hasFile()) {
            scanned.add(copy.identity, copy.slot, true, std::string_view(copy.diskName), copy.entry, copy.name,
                        copy.listed() ? std::string_view(copy.date) : std::string_view());
        }
    });
    return scanned;
}

} // namespace

// The areas of numbers, read two at a time (the stat calls are most of the time, and the
// kernel takes them on both cores), told to progress in order on the caller's thread.
std::vector<ScannedArea> scanAreas(const Board& board, const std::vector<int>& numbers, BoardProgress* progress)
{
    const std::size_t count = numbers.size();
    std::vector<ScannedArea> scanned(count);
    std::vector<char> done(count, 0);
    std::exception_ptr failure;
    std::mutex mutex;
    std::condition_variable finished;
    std::atomic<std::size_t> next { 0 };
    const auto work = [&] {
        for (std::size_t i = next++; i < count; i = next++) {
            try {
                scanned[i] = scanArea(board, board.area(numbers[i]));
            } catch (...) {
                const std::lock_guard lock(mutex);
                if (!failure)
                    failure = std::current_exception();
            }
            {
                const std::lock_guard lock(mutex);
                done[i] = 1;
            }
            finished.notify_all();
        }
    };
    std::future<void> second = std::async(std::launch::async, work);
    std::future<void> third = std::async(std::launch::async, work);
    std::size_t entries = 0;
    const int total = static_cast<int>(count);
    for (std::size_t i = 0; i < count; ++i) {
        const int position = static_cast<int>(i) + 1;
        if (progress)
            progress->areaBegun(position, total, board.area(numbers[i]));
        {
            std::unique_lock lock(mutex);
            finished.wait(lock, [&] { return done[i] != 0; });
        }
        entries += scanned[i].entries;
        if (progress)
            progress->areaEnded(position, total, entries);
    }
    second.get();
    third.get();
    if (failure)
        std::rethrow_exception(failure);
    if (progress)
        progress->finished();
    return scanned;
}

} // namespace Kelvane::DupesDetail
