#include "boardwide/Dupes.h"

#include "board/FileDates.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"
#include "platform/ShortNames.h"

#include <algorithm>
#include <charconv>
#include <memory>
#include <numeric>
#include <set>
#include <tuple>
#include <unordered_map>

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
        // The files of each directory by upper-case name, for the entries to claim: the first
        // unclaimed one and, through next, the others of that name in slot order.
        constexpr std::size_t None = std::size_t(-1);
        struct Unclaimed
        {
            std::size_t first;
            std::size_t last;
        };
        std::unordered_map<std::string_view, Unclaimed> byKey;
        byKey.reserve(contents.files.size());
        const std::size_t base = copies.size();
        std::vector<std::size_t> next(contents.files.size(), None);
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
            const std::string_view key = m_keys.push_back(m_page.upper(copy.name));
            const auto [at, added] = byKey.try_emplace(key, Unclaimed { copies.size(), copies.size() });
            if (!added) {
                next[at->second.last - base] = copies.size();
                at->second.last = copies.size();
            }
            copies.push_back(std::move(copy));
        }
        for (std::size_t i = 0; i < contents.entries.size(); ++i) {
            const Entry& entry = contents.entries[i];
            std::string key = m_page.upper(entry.FileName);
            const auto found = byKey.find(key);
            // The entry names the first unclaimed file of its name in slot order, the file the
            // editor's look-up finds for it.
            if (found != byKey.end() && found->second.first != None) {
                DupeCopy& copy = copies[found->second.first];
                found->second.first = next[found->second.first - base];
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
            m_keys.push_back(std::move(key));
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

// Runs of equal keys among indices (sorted by key), each of two or more, in board order.
template <typename Key> std::vector<std::vector<std::size_t>> runsOf(std::vector<std::size_t> indices, const Key& key)
{
    std::stable_sort(indices.begin(), indices.end(), [&](std::size_t a, std::size_t b) { return key(a) < key(b); });
    std::vector<std::vector<std::size_t>> runs;
    for (std::size_t start = 0; start < indices.size();) {
        std::size_t end = start + 1;
        while (end < indices.size() && key(indices[end]) == key(indices[start]))
            ++end;
        if (end - start > 1)
            runs.emplace_back(indices.begin() + static_cast<std::ptrdiff_t>(start),
                              indices.begin() + static_cast<std::ptrdiff_t>(end));
        start = end;
    }
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
        for (std::size_t start = 0; start < hashes.size();) {
            std::size_t end = start + 1;
            while (end < hashes.size() && hashes[end].first == hashes[start].first)
                ++end;
            if (end - start > 1) {
                std::vector<std::size_t> run;
                for (std::size_t at = start; at < end; ++at)
                    run.push_back(hashes[at].second);
                for (std::vector<std::size_t>& same :
                     runsOf(std::move(run), [&](std::size_t i) -> const std::string& { return keys[i]; }))
                    nameRuns.push_back(std::move(same));
            }
            start = end;
        }
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
        // Empty files are all equal and take nothing; a second link to a file read already is
        // the same bytes, not a copy of them.
        // The files are sorted as compact keys, not through the copies: a million of them.
        struct File
        {
            std::uintmax_t size;
            std::uint64_t device;
            std::uint64_t inode;
            std::size_t index;
        };
        std::vector<File> files;
        for (std::size_t i = 0; i < copies.size(); ++i) {
            const DupeCopy& copy = copies[i];
            if (copy.hasFile() && copy.size != 0)
                files.push_back({ copy.size, copy.identity.device, copy.identity.inode, i });
        }
        std::sort(files.begin(), files.end(), [](const File& a, const File& b) {
            return std::tie(a.device, a.inode, a.index) < std::tie(b.device, b.inode, b.index);
        });
        files.erase(std::unique(files.begin(), files.end(),
                                [](const File& a, const File& b) {
                                    return a.inode != 0 && a.device == b.device && a.inode == b.inode;
                                }),
                    files.end());
        std::sort(files.begin(), files.end(), [](const File& a, const File& b) {
            return std::tie(a.size, a.device, a.inode, a.index) < std::tie(b.size, b.device, b.inode, b.index);
        });
        if (options.awaitCache)
            options.awaitCache();
        // Only a file that shares its size with another is read.
        std::vector<std::pair<ContentDigest, std::size_t>> hashed;
        for (std::size_t start = 0; start < files.size();) {
            std::size_t end = start + 1;
            while (end < files.size() && files[end].size == files[start].size)
                ++end;
            for (std::size_t at = start; end - start > 1 && at < end; ++at) {
                const std::size_t i = files[at].index;
                const DupeCopy& copy = copies[i];
                std::optional<ContentDigest> digest = options.cache ? options.cache->find(copy.identity) : std::nullopt;
                if (!digest) {
                    QString reason;
                    const fs::path path = pathOf(board, copy);
                    ++report.filesRead;
                    digest = options.readDigest(path, reason);
                    if (!digest) {
                        ++report.filesLeftOut;
                        report.notices.push_back(
                            u"area %1: %2: %3; it is left out"_s.arg(copy.area).arg(unicodeFromPath(path), reason));
                        continue;
                    }
                    if (options.cache)
                        options.cache->insert(copy.identity, *digest);
                }
                hashed.emplace_back(*digest, i);
            }
            start = end;
        }
        // Equal digests meet in runs, each in board order.
        std::sort(hashed.begin(), hashed.end());
        std::vector<std::pair<std::vector<std::size_t>, const ContentDigest*>> contentRuns;
        for (std::size_t start = 0; start < hashed.size();) {
            std::size_t end = start + 1;
            while (end < hashed.size() && hashed[end].first == hashed[start].first)
                ++end;
            if (end - start > 1) {
                std::vector<std::size_t> run;
                for (std::size_t at = start; at < end; ++at)
                    run.push_back(hashed[at].second);
                contentRuns.emplace_back(std::move(run), &hashed[start].first);
            }
            start = end;
        }
        std::sort(contentRuns.begin(), contentRuns.end());
        for (const auto& [run, digest] : contentRuns) {
            DupeGroup group { DupeGroup::Kind::Content, hexOf(*digest), {} };
            for (const std::size_t i : run)
                group.copies.push_back(copies[i]);
            report.groups.push_back(std::move(group));
        }
    }

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
    return report;
}

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
