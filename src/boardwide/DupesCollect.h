#pragma once

// The duplicate finder's gathering of copies, area by area: every copy with its name key for
// the search by name, and compact file records for the search by content. Only Dupes.cpp
// uses it.

#include "boardwide/Dupes.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Kelvane {

class BoardProgress;
class CodePage;
class DirectoryAliases;

namespace DupesDetail {

/// The size a Files List entry gives, as a number; 0 for none.
std::uintmax_t sizeOfEntry(const std::string& size);

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
                                      const std::vector<std::string_view>& entryKeys);

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

    void areaRead(AreaContents& contents) override;

    void areaSkipped(const AreaProblem& problem) override { m_report.skipped.push_back(problem); }

    /// Each copy's name key: the upper-case name, an alias taken as the one long name it
    /// stands for.
    const Chunked<std::string>& nameKeys();

    Copies copies;

private:
    const DirectoryAliases&
    aliasesOf(const AreaContents& contents, int slot, std::vector<std::unique_ptr<DirectoryAliases>>& aliases) const;

    const CodePage& m_page;
    DupesReport& m_report;
    bool m_identities; // the listing took each file's identity
    Chunked<std::string> m_keys; // each copy's upper-case name
    std::vector<std::pair<std::string, std::size_t>> m_longByAlias;
};

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

/// The areas of numbers, read two at a time, told to progress in order on the caller's thread.
std::vector<ScannedArea> scanAreas(const Board& board, const std::vector<int>& numbers, BoardProgress* progress);

} // namespace DupesDetail
} // namespace Kelvane
