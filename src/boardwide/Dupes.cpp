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

// Gathers every copy of the areas read, in board order.
class CopyCollector : public AreaVisitor
{
public:
    CopyCollector(const CodePage& page, DupesReport& report)
        : m_page(page)
        , m_report(report)
    {
    }

    void areaRead(AreaContents& contents) override
    {
        const BoardArea& area = contents.area;
        // The files of each directory, by upper-case name, for the entries to claim.
        std::unordered_map<std::string, std::vector<std::size_t>> byKey;
        std::vector<std::unique_ptr<DirectoryAliases>> aliases(DirectorySlots);
        for (const AreaFile& file : contents.files) {
            DupeCopy copy;
            copy.area = area.number;
            copy.slot = file.slot;
            copy.diskName = file.path.filename().native();
            copy.size = file.identity.size;
            copy.identity = file.identity;
            QString text = unicodeFromPath(file.path.filename());
            const bool showable = m_page.canEncode(text);
            if (!showable || !isValidShortName(text.toUpper(), m_page)) {
                const QString alias = aliasesOf(contents, file.slot, aliases).aliasOf(text);
                if (!showable) {
                    // The scan lists such a file by its alias, which the page can show.
                    m_report.notices.push_back(
                        u"area %1: the name of %2 cannot be shown in %3; it is taken as %4"_s.arg(area.number)
                            .arg(unicodeFromPath(file.path), m_page.name(), alias));
                    text = alias;
                } else {
                    m_longByAlias.push_back({ m_page.upper(m_page.fromUnicode(alias)), copies.size() });
                }
            }
            copy.name = m_page.fromUnicode(text);
            byKey[m_page.upper(copy.name)].push_back(copies.size());
            copies.push_back(std::move(copy));
        }
        for (std::size_t i = 0; i < contents.entries.size(); ++i) {
            const Entry& entry = contents.entries[i];
            const auto found = byKey.find(m_page.upper(entry.FileName));
            // The entry names the first unclaimed file of its name in slot order, the file the
            // editor's look-up finds for it.
            if (found != byKey.end() && !found->second.empty()) {
                DupeCopy& copy = copies[found->second.front()];
                found->second.erase(found->second.begin());
                copy.entry = static_cast<int>(i);
                copy.name = entry.FileName;
                copy.date = entry.Date;
                continue;
            }
            DupeCopy copy;
            copy.area = area.number;
            copy.entry = static_cast<int>(i);
            copy.name = entry.FileName;
            copy.date = entry.Date;
            copy.size = sizeOfEntry(entry.Size);
            copies.push_back(std::move(copy));
        }
    }

    void areaSkipped(const AreaProblem& problem) override { m_report.skipped.push_back(problem); }

    /// Each copy's name key: the upper-case name, an alias taken as the one long name it
    /// stands for.
    std::vector<std::string> nameKeys() const
    {
        std::unordered_map<std::string, std::string> longOf;
        for (const auto& [alias, index] : m_longByAlias) {
            const std::string key = m_page.upper(copies[index].name);
            const auto [at, added] = longOf.emplace(alias, key);
            if (!added && at->second != key)
                at->second.clear(); // two long names share the alias: it stands for neither
        }
        std::vector<std::string> keys;
        keys.reserve(copies.size());
        for (const DupeCopy& copy : copies) {
            std::string key = m_page.upper(copy.name);
            if (key.find('~') != std::string::npos) {
                const auto found = longOf.find(key);
                if (found != longOf.end() && !found->second.empty())
                    key = found->second;
            }
            keys.push_back(std::move(key));
        }
        return keys;
    }

    std::vector<DupeCopy> copies;

private:
    const DirectoryAliases&
    aliasesOf(const AreaContents& contents, int slot, std::vector<std::unique_ptr<DirectoryAliases>>& aliases) const
    {
        std::unique_ptr<DirectoryAliases>& made = aliases[static_cast<std::size_t>(slot)];
        if (!made) {
            std::vector<QString> names;
            for (const AreaFile& file : contents.files) {
                if (file.slot == slot)
                    names.push_back(unicodeFromPath(file.path.filename()));
            }
            made = std::make_unique<DirectoryAliases>(names, m_page);
        }
        return *made;
    }

    const CodePage& m_page;
    DupesReport& m_report;
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
    CopyCollector collector(page, report);
    BoardReader reader(board, { .entries = true, .files = true });
    reader.setProgress(options.progress);
    reader.read(numbers, collector);
    std::vector<DupeCopy>& copies = collector.copies;

    std::vector<std::vector<std::size_t>> nameRuns;
    if (options.by != DupesBy::Content) {
        const std::vector<std::string> keys = collector.nameKeys();
        std::vector<std::size_t> all(copies.size());
        std::iota(all.begin(), all.end(), 0);
        nameRuns = runsOf(std::move(all), [&](std::size_t i) -> const std::string& { return keys[i]; });
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
        std::vector<std::size_t> files;
        for (std::size_t i = 0; i < copies.size(); ++i) {
            if (copies[i].hasFile() && copies[i].size != 0)
                files.push_back(i);
        }
        const auto fileOf
            = [&](std::size_t i) { return std::tuple(copies[i].identity.device, copies[i].identity.inode, i); };
        std::sort(files.begin(), files.end(), [&](std::size_t a, std::size_t b) { return fileOf(a) < fileOf(b); });
        files.erase(std::unique(files.begin(), files.end(),
                                [&](std::size_t a, std::size_t b) { return sameFile(copies[a], copies[b]); }),
                    files.end());
        std::vector<std::pair<std::size_t, ContentDigest>> hashed;
        for (const std::vector<std::size_t>& sameSize :
             runsOf(std::move(files), [&](std::size_t i) { return copies[i].size; })) {
            for (const std::size_t i : sameSize) {
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
                hashed.emplace_back(i, *digest);
            }
        }
        std::vector<std::size_t> positions(hashed.size());
        std::iota(positions.begin(), positions.end(), 0);
        std::vector<std::vector<std::size_t>> contentRuns
            = runsOf(std::move(positions), [&](std::size_t p) -> const ContentDigest& { return hashed[p].second; });
        for (std::vector<std::size_t>& run : contentRuns) {
            for (std::size_t& p : run)
                p = hashed[p].first;
            std::sort(run.begin(), run.end());
        }
        std::sort(contentRuns.begin(), contentRuns.end());
        for (const std::vector<std::size_t>& run : contentRuns) {
            DupeGroup group { DupeGroup::Kind::Content, {}, {} };
            for (const std::size_t i : run)
                group.copies.push_back(copies[i]);
            for (const auto& [index, digest] : hashed) {
                if (index == run.front()) {
                    group.key = hexOf(digest);
                    break;
                }
            }
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
