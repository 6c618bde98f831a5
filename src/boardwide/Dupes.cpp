#include "boardwide/Dupes.h"

#include "board/FileDates.h"
#include "boardwide/DupesCollect.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"

#include <algorithm>
#include <cstring>
#include <future>
#include <memory>
#include <set>
#include <tuple>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace fs = std::filesystem;
using namespace DupesDetail;

namespace {

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
