#include "boardwide/Dupes.h"

#include "board/FileDates.h"
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
#include <cstring>
#include <exception>
#include <future>
#include <memory>
#include <mutex>
#include <numeric>
#include <set>
#include <tuple>
#include <unordered_map>

#ifndef Q_OS_WIN
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#endif

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

std::uintmax_t sizeOfEntry(const std::string& size)
{
    const std::size_t start = size.find_first_not_of(' ');
    std::uintmax_t value = 0;
    if (start != std::string::npos)
        std::from_chars(size.data() + start, size.data() + size.size(), value);
    return value;
}

std::string hexOf(const ContentDigest& digest)
{
    static const char Digits[] = "0123456789abcdef";
    std::string hex;
    for (const unsigned char byte : digest) {
        hex += Digits[byte >> 4];
        hex += Digits[byte & 15];
    }
    return hex;
}

// A growing sequence that never moves what it holds: a million copies and their keys are
// gathered in blocks of 4,096 (a deque's blocks hold three copies each).
template <typename T> class Chunked
{
public:
    static constexpr std::size_t Block = 4096;

    T& push_back(T value)
    {
        if (m_size % Block == 0)
            m_blocks.push_back(std::make_unique<T[]>(Block));
        T& slot = m_blocks.back()[m_size++ % Block];
        slot = std::move(value);
        return slot;
    }
    T& operator[](std::size_t i) { return m_blocks[i / Block][i % Block]; }
    const T& operator[](std::size_t i) const { return m_blocks[i / Block][i % Block]; }
    std::size_t size() const { return m_size; }

    template <typename F> void forEach(F f)
    {
        for (std::size_t i = 0; i < m_size; ++i)
            f((*this)[i]);
    }

private:
    std::vector<std::unique_ptr<T[]>> m_blocks;
    std::size_t m_size = 0;
};

constexpr std::size_t None = std::size_t(-1);

// The file each entry names: in list order, each entry claims the first file of its name in
// slot order that no entry before it claimed, the file the editor's look-up finds for it.
// fileKeys are the upper-case names of an area's files in slot order, entryKeys those of its
// entries in list order; the result holds the position of the file each entry claims, or None.
// Both sides are put in key order (the files mostly are already) and merged: within one name,
// the k-th entry claims the k-th file.
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

using Copies = Chunked<DupeCopy>;

// Gathers every copy of the areas read, in board order.
class CopyCollector : public AreaVisitor
{
public:
    CopyCollector(const CodePage& page, DupesReport& report, bool identities)
        : m_page(page)
        , m_report(report)
        , m_identities(identities)
    {
    }

    void areaRead(AreaContents& contents) override
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

    void areaSkipped(const AreaProblem& problem) override { m_report.skipped.push_back(problem); }

    /// Each copy's name key: the upper-case name, an alias taken as the one long name it
    /// stands for.
    const Chunked<std::string>& nameKeys()
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

    Copies copies;

private:
    const DirectoryAliases&
    aliasesOf(const AreaContents& contents, int slot, std::vector<std::unique_ptr<DirectoryAliases>>& aliases) const
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

    const CodePage& m_page;
    DupesReport& m_report;
    bool m_identities; // the listing took each file's identity
    Chunked<std::string> m_keys; // each copy's upper-case name
    std::vector<std::pair<std::string, std::size_t>> m_longByAlias;
};

// Calls use(first, last) for each run of two or more equal items among the first count
// (sorted), as equal(a, b) tells of two positions.
template <typename Equal, typename Use> void forEachRun(std::size_t count, const Equal& equal, const Use& use)
{
    for (std::size_t first = 0; first < count;) {
        std::size_t last = first + 1;
        while (last < count && equal(first, last))
            ++last;
        if (last - first > 1)
            use(first, last);
        first = last;
    }
}

// Runs of equal keys among indices (sorted by key), each of two or more, in board order.
template <typename Key> std::vector<std::vector<std::size_t>> runsOf(std::vector<std::size_t> indices, const Key& key)
{
    std::stable_sort(indices.begin(), indices.end(), [&](std::size_t a, std::size_t b) { return key(a) < key(b); });
    std::vector<std::vector<std::size_t>> runs;
    forEachRun(
        indices.size(), [&](std::size_t a, std::size_t b) { return key(indices[a]) == key(indices[b]); },
        [&](std::size_t start, std::size_t end) {
            runs.emplace_back(indices.begin() + static_cast<std::ptrdiff_t>(start),
                              indices.begin() + static_cast<std::ptrdiff_t>(end));
        });
    return runs;
}

// The identities of the grouped files of a listing that took none. A file gone since the
// listing leaves its group; its entry, if listed, stays as an entry without a file.
void takeIdentities(const Board& board, Copies& copies, std::vector<std::vector<std::size_t>>& runs)
{
    for (std::vector<std::size_t>& run : runs) {
        std::erase_if(run, [&](std::size_t i) {
            DupeCopy& copy = copies[i];
            if (!copy.hasFile())
                return false;
            if (const std::optional<FileIdentity> identity = identityOf(pathOf(board, copy))) {
                copy.identity = *identity;
                copy.size = identity->size;
                return false;
            }
            copy.slot = -1;
            copy.diskName.clear();
            return !copy.listed();
        });
    }
    std::erase_if(runs, [](const std::vector<std::size_t>& run) { return run.size() < 2; });
}

bool sameFile(const DupeCopy& a, const DupeCopy& b)
{
    return a.hasFile() && b.hasFile() && a.identity.inode != 0 && a.identity.device == b.identity.device
        && a.identity.inode == b.identity.inode;
}

// The content search gathers each file as a compact record, not as a copy: a million copies
// with three strings each cost more in allocation and page faults than the stat calls under
// them. Only the files that end up in a group become copies.
// 56 bytes: the lengths fit 16 bits, as a name on disk has at most 255 characters, an entry's
// name is one of those or the list's 12 columns, and a date is its 9 columns.
struct ScannedFile
{
    FileIdentity identity;
    std::uint32_t diskName = 0; // offsets and lengths in the area's text
    std::uint32_t name = 0; // the entry's name, else the file's
    std::uint32_t date = 0; // the entry's; none for a file the list does not hold
    std::uint16_t diskNameLength = 0;
    std::uint16_t nameLength = 0;
    std::uint16_t dateLength = 0;
    std::int8_t slot = 0;
    bool linked = false; // it has more than one link: another name of it may be listed too
    std::int32_t entry = -1;
};
static_assert(sizeof(ScannedFile) == 56 && DirectorySlots <= 127);

struct ScannedArea
{
    int number = 0;
    std::optional<AreaProblem> problem;
    std::size_t entries = 0;
    std::string text;
    std::vector<ScannedFile> files; // in board order: directory, then listing order
    std::vector<QString> notices;
    /// Whether some file may be another name of a file without a second link to tell it (a
    /// symbolic link, a name of unknown type, or an area taken the general way).
    bool anyFileUnclear = false;
    /// Each directory listed: its slot, device and inode (a directory two areas share is
    /// listed twice).
    std::vector<std::tuple<int, std::uint64_t, std::uint64_t>> directories;

    void clearFiles()
    {
        files.clear();
        text.clear();
        m_lastDate = 0;
        m_lastDateLength = 0;
    }
    std::string_view textOf(std::uint32_t offset, std::uint32_t length) const
    {
        return std::string_view(text).substr(offset, length);
    }
    std::uint32_t add(std::string_view bytes)
    {
        const auto offset = static_cast<std::uint32_t>(text.size());
        text.append(bytes);
        return offset;
    }
    void add(const FileIdentity& identity,
             int slot,
             bool linked,
             std::string_view diskName,
             int entry,
             std::string_view name,
             std::string_view date)
    {
        ScannedFile& file = files.emplace_back();
        file.identity = identity;
        file.slot = static_cast<std::int8_t>(slot);
        file.linked = linked;
        file.entry = entry;
        file.diskNameLength = static_cast<std::uint16_t>(diskName.size());
        file.diskName = add(diskName);
        // Mostly the entry's name is the file's own, and its date the last file's: held once.
        file.nameLength = static_cast<std::uint16_t>(name.size());
        file.name = name == diskName ? file.diskName : add(name);
        file.dateLength = static_cast<std::uint16_t>(date.size());
        file.date = date == textOf(m_lastDate, m_lastDateLength) ? m_lastDate : add(date);
        m_lastDate = file.date;
        m_lastDateLength = file.dateLength;
    }

private:
    std::uint32_t m_lastDate = 0;
    std::uint16_t m_lastDateLength = 0;
};

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

// A file to be hashed: its size and identity, and where it is (area and file, or a copy).
struct SizedFile
{
    std::uintmax_t size;
    std::uint64_t device;
    std::uint64_t inode;
    std::uint64_t index;
};

using ContentRuns = std::vector<std::pair<std::vector<std::uint64_t>, ContentDigest>>;

// The first eight bytes of a digest as one number, and where the digest is.
struct DigestKey
{
    std::uint64_t prefix;
    std::size_t at;
};

// The runs of equal digests among hashed, the digests of files of one size. They are sorted by
// their first eight bytes as one number, in keys of 16 bytes (not the 40 of a digest and its
// file), equal first bytes by the whole digest, then in board order.
void digestRuns(const std::vector<std::pair<ContentDigest, std::uint64_t>>& hashed,
                std::vector<DigestKey>& keys,
                ContentRuns& runs)
{
    keys.resize(hashed.size());
    for (std::size_t at = 0; at < hashed.size(); ++at) {
        std::uint64_t prefix = 0;
        std::memcpy(&prefix, hashed[at].first.data(), sizeof prefix);
        keys[at] = { prefix, at };
    }
    std::sort(keys.begin(), keys.end(), [&](const DigestKey& a, const DigestKey& b) {
        return a.prefix != b.prefix ? a.prefix < b.prefix : hashed[a.at] < hashed[b.at];
    });
    forEachRun(
        keys.size(),
        [&](std::size_t a, std::size_t b) {
            return keys[a].prefix == keys[b].prefix && hashed[keys[a].at].first == hashed[keys[b].at].first;
        },
        [&](std::size_t first, std::size_t last) {
            std::vector<std::uint64_t> run;
            for (std::size_t at = first; at < last; ++at)
                run.push_back(hashed[keys[at].at].second);
            runs.emplace_back(std::move(run), hashed[keys[first].at].first);
        });
}

// Sorts files by size, device, inode and place (the hash cache's order, within each size the
// first name of a file first) on two threads: split at the median of a sample, each side
// sorted on its own. Nothing is copied or merged.
void sortOnTwoThreads(std::vector<SizedFile>& files)
{
    const auto before = [](const SizedFile& a, const SizedFile& b) {
        return std::tie(a.size, a.device, a.inode, a.index) < std::tie(b.size, b.device, b.inode, b.index);
    };
    constexpr std::size_t Samples = 1023;
    if (files.size() < 16 * Samples) {
        std::sort(files.begin(), files.end(), before);
        return;
    }
    std::vector<SizedFile> sample;
    sample.reserve(Samples);
    for (std::size_t i = 0; i < Samples; ++i)
        sample.push_back(files[i * (files.size() / Samples)]);
    std::nth_element(sample.begin(), sample.begin() + Samples / 2, sample.end(), before);
    const SizedFile pivot = sample[Samples / 2];
    const auto middle
        = std::partition(files.begin(), files.end(), [&](const SizedFile& file) { return before(file, pivot); });
    std::future<void> second = std::async(std::launch::async, [&] { std::sort(middle, files.end(), before); });
    std::sort(files.begin(), middle, before);
    second.get();
}

// The runs of files of equal bytes, each in board order (files' index order), in order of their
// first file. Empty files are all equal and take nothing; a second link to a file read already
// is the same bytes, not a copy of them; only a file that shares its size with another is read.
// files holds no two names of one file; sharing holds the files that may be named twice, each
// taken once, at its first name. source gives a file's identity, path and area by its index.
template <typename Source>
ContentRuns contentRuns(std::vector<SizedFile> files,
                        std::vector<SizedFile> sharing,
                        const Source& source,
                        const DupesOptions& options,
                        DupesReport& report)
{
    std::sort(sharing.begin(), sharing.end(), [](const SizedFile& a, const SizedFile& b) {
        return std::tie(a.device, a.inode, a.index) < std::tie(b.device, b.inode, b.index);
    });
    sharing.erase(std::unique(sharing.begin(), sharing.end(),
                              [](const SizedFile& a, const SizedFile& b) {
                                  return a.inode != 0 && a.device == b.device && a.inode == b.inode;
                              }),
                  sharing.end());
    files.insert(files.end(), sharing.begin(), sharing.end());
    sortOnTwoThreads(files);
    if (options.awaitCache)
        options.awaitCache();
    // Equal bytes are of equal size: the digests are compared within each size only, so no
    // sort spans the million files.
    ContentRuns runs;
    std::vector<std::pair<ContentDigest, std::uint64_t>> hashed; // those of one size
    std::vector<DigestKey> keys;
    for (std::size_t start = 0; start < files.size();) {
        std::size_t end = start + 1;
        while (end < files.size() && files[end].size == files[start].size)
            ++end;
        hashed.clear();
        for (std::size_t at = start; end - start > 1 && at < end; ++at) {
            const std::uint64_t i = files[at].index;
            const FileIdentity identity = source.identity(i);
            std::optional<ContentDigest> digest = options.cache ? options.cache->find(identity) : std::nullopt;
            if (!digest) {
                QString reason;
                const fs::path path = source.path(i);
                ++report.filesRead;
                digest = options.readDigest(path, reason);
                if (!digest) {
                    ++report.filesLeftOut;
                    report.notices.push_back(
                        u"area %1: %2: %3; it is left out"_s.arg(source.area(i)).arg(unicodeFromPath(path), reason));
                    continue;
                }
                if (options.cache)
                    options.cache->insert(identity, *digest);
            }
            hashed.emplace_back(*digest, i);
        }
        start = end;
        if (hashed.size() > 1)
            digestRuns(hashed, keys, runs);
    }
    std::sort(runs.begin(), runs.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    return runs;
}

// The dates of the copies the list does not hold, and the extra bytes: for the copies grouped.
void finishGroups(const Board& board, DupesReport& report);

// Names, and with Both the content too, over every copy of the board.
DupesReport findByName(const Board& board, const std::vector<int>& numbers, const DupesOptions& options)
{
    DupesReport report;
    const CodePage& page = board.codePage();
    // Only the content needs every file's identity; a search by name takes those of the
    // files it groups.
    const bool identities = options.by != DupesBy::Name;
    CopyCollector collector(page, report, identities);
    BoardReader reader(board, { .entries = true, .files = true, .identities = identities });
    reader.setProgress(options.progress);
    reader.read(numbers, collector);
    Copies& copies = collector.copies;

    std::vector<std::vector<std::size_t>> nameRuns;
    if (options.by != DupesBy::Content) {
        const Chunked<std::string>& keys = collector.nameKeys();
        // The keys' hashes sorted, not the keys: equal keys meet in runs of one hash, split
        // again by key only where two names share a hash. Each run in board order, as a sort
        // of the keys would give it.
        std::vector<std::pair<std::size_t, std::size_t>> hashes(keys.size());
        for (std::size_t i = 0; i < keys.size(); ++i)
            hashes[i] = { std::hash<std::string> {}(keys[i]), i };
        std::sort(hashes.begin(), hashes.end());
        forEachRun(
            hashes.size(), [&](std::size_t a, std::size_t b) { return hashes[a].first == hashes[b].first; },
            [&](std::size_t start, std::size_t end) {
                std::vector<std::size_t> run;
                for (std::size_t at = start; at < end; ++at)
                    run.push_back(hashes[at].second);
                for (std::vector<std::size_t>& same :
                     runsOf(std::move(run), [&](std::size_t i) -> const std::string& { return keys[i]; }))
                    nameRuns.push_back(std::move(same));
            });
        if (!identities)
            takeIdentities(board, copies, nameRuns);
        std::sort(nameRuns.begin(), nameRuns.end());
        for (const std::vector<std::size_t>& run : nameRuns) {
            DupeGroup group { DupeGroup::Kind::Name, keys[run.front()], {} };
            for (const std::size_t i : run)
                group.copies.push_back(copies[i]);
            report.groups.push_back(std::move(group));
        }
    }

    if (options.by != DupesBy::Name) {
        std::vector<SizedFile> files;
        for (std::size_t i = 0; i < copies.size(); ++i) {
            const DupeCopy& copy = copies[i];
            if (copy.hasFile() && copy.size != 0)
                files.push_back({ copy.size, copy.identity.device, copy.identity.inode, i });
        }
        struct
        {
            const Board& board;
            const Copies& copies;
            FileIdentity identity(std::uint64_t i) const { return copies[i].identity; }
            fs::path path(std::uint64_t i) const { return pathOf(board, copies[i]); }
            int area(std::uint64_t i) const { return copies[i].area; }
        } const source { board, copies };
        for (const auto& [run, digest] : contentRuns({}, std::move(files), source, options, report)) {
            DupeGroup group { DupeGroup::Kind::Content, hexOf(digest), {} };
            for (const std::uint64_t i : run)
                group.copies.push_back(copies[i]);
            report.groups.push_back(std::move(group));
        }
    }
    finishGroups(board, report);
    return report;
}

void findByContent(const Board& board,
                   const std::vector<int>& numbers,
                   const DupesOptions& options,
                   DupesReport& report)
{
    const std::vector<ScannedArea> areas = scanAreas(board, numbers, options.progress);
    // A file's index: its area's position, then its place in the area.
    const auto indexOf = [](std::size_t area, std::size_t file) { return std::uint64_t(area) << 32 | file; };
    std::size_t count = 0;
    for (const ScannedArea& area : areas)
        count += area.files.size();
    // A file named twice is a second link (which its count of links tells), a directory
    // listed twice (by two areas, or two slots of one), or a symbolic link, which only a
    // search over every file finds.
    bool allSharing = false;
    std::vector<std::tuple<std::uint64_t, std::uint64_t, std::size_t, int>> directories; // device, inode, area, slot
    for (std::size_t a = 0; a < areas.size(); ++a) {
        allSharing = allSharing || areas[a].anyFileUnclear;
        for (const auto& [slot, device, inode] : areas[a].directories)
            directories.emplace_back(device, inode, a, slot);
    }
    std::sort(directories.begin(), directories.end());
    std::set<std::pair<std::size_t, int>> listedTwice; // area and slot
    for (std::size_t i = 1; i < directories.size(); ++i) {
        const auto& [device, inode, area, slot] = directories[i];
        const auto& [lastDevice, lastInode, lastArea, lastSlot] = directories[i - 1];
        if (device == lastDevice && inode == lastInode) {
            listedTwice.emplace(lastArea, lastSlot);
            listedTwice.emplace(area, slot);
        }
    }
    std::vector<SizedFile> files;
    std::vector<SizedFile> sharing;
    files.reserve(count);
    for (std::size_t a = 0; a < areas.size(); ++a) {
        const ScannedArea& area = areas[a];
        if (area.problem)
            report.skipped.push_back(*area.problem);
        report.notices.insert(report.notices.end(), area.notices.begin(), area.notices.end());
        for (std::size_t f = 0; f < area.files.size(); ++f) {
            const ScannedFile& file = area.files[f];
            if (file.identity.size == 0)
                continue;
            const SizedFile sized { file.identity.size, file.identity.device, file.identity.inode, indexOf(a, f) };
            if (allSharing || file.linked || (!listedTwice.empty() && listedTwice.contains({ a, file.slot })))
                sharing.push_back(sized);
            else
                files.push_back(sized);
        }
    }
    struct
    {
        const Board& board;
        const std::vector<ScannedArea>& areas;
        const ScannedFile& file(std::uint64_t i) const { return areas[i >> 32].files[i & 0xFFFFFFFFU]; }
        FileIdentity identity(std::uint64_t i) const { return file(i).identity; }
        fs::path path(std::uint64_t i) const
        {
            const ScannedArea& area = areas[i >> 32];
            return board.area(area.number).directories[static_cast<std::size_t>(file(i).slot)]
                / fs::path(area.textOf(file(i).diskName, file(i).diskNameLength));
        }
        int area(std::uint64_t i) const { return areas[i >> 32].number; }
    } const source { board, areas };
    for (const auto& [run, digest] : contentRuns(std::move(files), std::move(sharing), source, options, report)) {
        DupeGroup group { DupeGroup::Kind::Content, hexOf(digest), {} };
        for (const std::uint64_t i : run) {
            const ScannedArea& area = areas[i >> 32];
            const ScannedFile& file = source.file(i);
            DupeCopy& copy = group.copies.emplace_back();
            copy.area = area.number;
            copy.slot = file.slot;
            copy.entry = file.entry;
            copy.name = area.textOf(file.name, file.nameLength);
            const std::string_view diskName = area.textOf(file.diskName, file.diskNameLength);
            copy.diskName.assign(diskName.begin(), diskName.end());
            copy.date = area.textOf(file.date, file.dateLength);
            copy.size = file.identity.size;
            copy.identity = file.identity;
        }
        report.groups.push_back(std::move(group));
    }
}

} // namespace

fs::path pathOf(const Board& board, const DupeCopy& copy)
{
    if (!copy.hasFile())
        return {};
    return board.area(copy.area).directories[static_cast<std::size_t>(copy.slot)] / fs::path(copy.diskName);
}

DupesReport findDuplicates(const Board& board, const std::vector<int>& numbers, const DupesOptions& options)
{
    DupesReport report;
    // The content alone needs no name of a file outside its group: those are taken only
    // for the copies grouped.
    if (options.by == DupesBy::Content) {
        findByContent(board, numbers, options, report);
        finishGroups(board, report);
        return report;
    }
    return findByName(board, numbers, options);
}

namespace {

void finishGroups(const Board& board, DupesReport& report)
{
    for (DupeGroup& group : report.groups) {
        for (DupeCopy& copy : group.copies) {
            if (copy.hasFile() && !copy.listed())
                copy.date = fileListDate(pathOf(board, copy));
        }
    }
    std::set<std::pair<std::uint64_t, std::uint64_t>> counted;
    for (const DupeGroup& group : report.groups) {
        const DupeCopy& first = group.copies.front();
        if (first.hasFile())
            counted.insert({ first.identity.device, first.identity.inode });
    }
    for (const DupeGroup& group : report.groups) {
        for (std::size_t i = 1; i < group.copies.size(); ++i) {
            const DupeCopy& copy = group.copies[i];
            if (copy.hasFile() && counted.insert({ copy.identity.device, copy.identity.inode }).second)
                report.extraBytes += copy.size;
        }
    }
}

} // namespace

std::vector<DupeRemoval> planRemoval(const Board& board, const DupeGroup& group, DupesKeep keep)
{
    const std::vector<DupeCopy>& copies = group.copies;
    std::size_t kept = 0;
    const auto better = [&](const DupeCopy& a, const DupeCopy& b) {
        if (a.hasFile() != b.hasFile())
            return a.hasFile();
        if (keep == DupesKeep::Oldest)
            return a.identity.modifiedNanoseconds < b.identity.modifiedNanoseconds;
        if (keep == DupesKeep::Newest)
            return a.identity.modifiedNanoseconds > b.identity.modifiedNanoseconds;
        return false;
    };
    for (std::size_t i = 1; i < copies.size(); ++i) {
        if (better(copies[i], copies[kept]))
            kept = i;
    }
    std::vector<DupeRemoval> plan;
    std::vector<const DupeCopy*> deleted;
    for (std::size_t i = 0; i < copies.size(); ++i) {
        const DupeCopy& copy = copies[i];
        DupeRemoval removal { DupeRemoval::Action::Keep, &copy };
        // A file seen twice (a second link, or two areas sharing a directory) is deleted
        // once, and never when it is the kept copy's.
        const bool seen = sameFile(copy, copies[kept])
            || std::any_of(deleted.begin(), deleted.end(),
                           [&](const DupeCopy* other) { return sameFile(copy, *other); });
        if (i != kept) {
            if (board.area(copy.area).readOnly())
                removal.action = DupeRemoval::Action::LeaveReadOnly;
            else if (seen)
                removal.action = copy.listed() ? DupeRemoval::Action::EraseEntry : DupeRemoval::Action::LeaveSameFile;
            else if (!copy.hasFile())
                removal.action = DupeRemoval::Action::EraseEntry;
            else
                removal.action = copy.listed() ? DupeRemoval::Action::Delete : DupeRemoval::Action::DeleteFile;
        }
        if (removal.action == DupeRemoval::Action::Delete || removal.action == DupeRemoval::Action::DeleteFile)
            deleted.push_back(&copy);
        plan.push_back(removal);
    }
    return plan;
}

} // namespace Kelvane
