#pragma once

// The board-wide layer: many areas read one after another, for commands and windows that
// report on the whole board (duplicates, the callers' file lists, search) and for the
// commands that edit area after area.
//
// It never touches the process-wide Session the one-area editor works through: it reads
// Farea.dat itself, one record at a time, asks no question, creates nothing and writes
// nothing. Bytes stay bytes; the code page only turns paths and titles into text.
//
// How a caller uses it:
//
//     const Board board = Board::open(mainNode, page);             // BoardError: no board
//     const AreaSet set = resolveAreaSet(selection, board.titles(), page);
//     BoardReader reader(board, { .entries = true, .files = false });
//     reader.setProgress(&terminalProgress);                       // optional
//     const ReadSummary summary = reader.read(set.numbers, visitor);
//     return summary.skipped.empty() ? 0 : 1;
//
// The visitor is called once per area in record order: areaRead with the area's entries
// (and, when asked, its files on disk), or areaSkipped with the one line that says why the
// area could not be read. Only one area's entries are held at a time unless the visitor
// moves them out, so a million entries over a hundred areas cost one area's memory.

#include "board/AreaRecords.h"
#include "board/CurrentArea.h"
#include "board/FilesList.h"
#include "platform/FileIdentity.h"

#include <QString>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Kelvane {

class CodePage;
class BoardProgress;

/// One area record as the board-wide layer reads it.
struct BoardArea
{
    int number = 0; // first record = 1
    std::optional<AreaRecord> record; // none: the record is damaged
    QString damage; // what is wrong with a damaged record

    // The record's paths through the code page, and its flags by the board's "No" rule.
    std::filesystem::path filesList;
    DirectoryPaths directories; // 0 the file directory, 1..10 the additional ones
    std::filesystem::path index;
    bool isCDRom = false;
    bool isOffline = false;
    bool usesMasterIndex = false;

    /// The title's bytes; empty for a damaged record.
    const std::string& title() const;
    /// Whether changes to the area put it on the Make Index list.
    bool trackForIndex() const { return !index.empty() && !usesMasterIndex; }
    /// CD-ROM and offline areas are never changed by a board-wide operation.
    bool readOnly() const { return isCDRom || isOffline; }
};

/// A board that cannot be read at all: no main node path, no Farea.dat, or one that cannot
/// be read.
class BoardError : public std::runtime_error
{
public:
    explicit BoardError(const QString& message);
};

/// The board's area records, read once, each on its own: one damaged record is one area
/// skipped, never the board refused.
class Board
{
public:
    /// Reads Farea.dat under mainNode (found whatever the case of its names).
    static Board open(const std::filesystem::path& mainNode, const CodePage& page);

    const std::filesystem::path& mainNode() const { return m_mainNode; }
    const CodePage& codePage() const { return *m_page; }
    const std::vector<BoardArea>& areas() const { return m_areas; }
    /// The area of record number (1..count).
    const BoardArea& area(int number) const { return m_areas.at(static_cast<std::size_t>(number) - 1); }
    int count() const { return static_cast<int>(m_areas.size()); }
    /// Every title in record order, none for a damaged record: what resolveAreaSet takes.
    std::vector<std::optional<std::string>> titles() const;

private:
    Board(std::filesystem::path mainNode, const CodePage& page);

    std::filesystem::path m_mainNode;
    const CodePage* m_page;
    std::vector<BoardArea> m_areas;
};

/// Why an area was skipped: one line for the operator.
struct AreaProblem
{
    int number = 0;
    std::string title; // bytes in the code page
    QString reason;

    /// "area 4 (Offline CD Collection): <reason>; skipped"
    QString line(const CodePage& page) const;
};

/// A file found in one of an area's directories.
struct AreaFile
{
    int slot = 0; // 0 the file directory, 1..10 the additional ones
    std::filesystem::path name; // its name within the directory
    QString text;               // the name as text
    FileIdentity identity;      // size, time, device and inode; zero unless asked for
};

/// One area as read. Valid during the visit only: a visitor that keeps the entries moves
/// them out.
struct AreaContents
{
    const BoardArea& area;
    int position = 0; // k of count, from 1
    int count = 0;
    EntryList entries; // in list order, every field as the bytes on disk; empty for a missing list
    bool listExists = false;
    /// The files of the area's directories, each directory in listing order (by name
    /// ignoring case), slot after slot, without the board's own files (the Files List, the
    /// index, "*.BAK" and "FILES.*", as the scan passes them by); filled only when
    /// ReadOptions::files is set.
    std::vector<AreaFile> files;
};

/// Told of each area in record order.
class AreaVisitor
{
public:
    virtual ~AreaVisitor() = default;
    virtual void areaRead(AreaContents& contents) = 0;
    /// The area could not be read; its line has not been printed.
    virtual void areaSkipped(const AreaProblem& problem) = 0;
    /// Asked before each area: true stops the run there (a window's cancel button).
    virtual bool stopRequested() { return false; }
};

struct ReadOptions
{
    bool entries = true; // read each area's Files List
    bool files = false; // list each area's directories
    bool identities = true; // with files: take each file's size, time, device and inode
};

struct ReadSummary
{
    int areasRead = 0;
    std::vector<AreaProblem> skipped;
    std::size_t entries = 0;
    bool stopped = false; // the visitor asked to stop before the last area
};

/// Reads the areas of a board one after another. The checks are those the editor makes
/// before it opens an area, without its questions and without creating anything: a damaged
/// record, no file directory, an offline area whose CD is not in the drive, a missing file
/// directory, no Files List path or a missing directory for it, and a list that cannot be
/// read each skip their area. A Files List that does not exist is an area without entries,
/// as the editor opens it; a missing additional directory holds no files.
class BoardReader
{
public:
    explicit BoardReader(const Board& board, ReadOptions options = {});

    /// Told as each area begins and ends; nullptr for none.
    void setProgress(BoardProgress* progress) { m_progress = progress; }

    /// Visits the areas of numbers (record numbers of the board) in the order given.
    ReadSummary read(const std::vector<int>& numbers, AreaVisitor& visitor);

    /// Why area cannot be read, checked without reading its list; nothing when it can be.
    static std::optional<AreaProblem> check(const BoardArea& area);

    /// Reads one area: its contents, or its problem.
    std::optional<AreaProblem> readArea(const BoardArea& area, AreaContents& contents) const;

private:
    const Board& m_board;
    ReadOptions m_options;
    BoardProgress* m_progress = nullptr;
};

} // namespace Kelvane
