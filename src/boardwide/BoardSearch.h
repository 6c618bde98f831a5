#pragma once

// Searching many areas at once: the command line's "find" and the desktop program's Find
// window run the same search, so a pattern finds the same entries in both.
//
// How a caller uses it:
//
//     const SearchPattern pattern(text, SearchIn::Both, board.codePage()); // SearchPatternError
//     BoardSearch search(board, pattern);
//     search.setProgress(&progress);                                       // optional
//     const SearchSummary summary = search.run(set.numbers, sink);
//
// The sink is told of each area in record order as soon as it is searched, with the entries
// it found there, so a window fills its table while the board is still being read; it is
// asked between areas and every CancelStride entries within an area whether to stop.

#include "board/FilesList.h"
#include "boardwide/BoardReader.h"

#include <QString>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Kelvane {

class CodePage;
class BoardProgress;

/// Where a pattern is looked for.
enum class SearchIn { Names, Descriptions, Both };

/// A pattern that cannot be searched for: empty, or holding characters the board's code
/// page cannot hold (no entry of the board can contain them).
class SearchPatternError : public std::runtime_error
{
public:
    explicit SearchPatternError(const QString& message);
};

/// What the operator looks for, ready to test entries.
///
/// On names the pattern is a wildcard ignoring case: "*" any run of characters, "?" exactly
/// one; a pattern without either finds the names that contain it ("doom" finds
/// "DOOM2.ZIP"). In descriptions the pattern is plain text found anywhere in any line,
/// ignoring case ("*" and "?" are ordinary characters there). Case is folded by the board's
/// code page, so "É" finds "é" on a Windows-1252 board.
class SearchPattern
{
public:
    SearchPattern(const QString& pattern, SearchIn in, const CodePage& page);

    bool matches(const Entry& entry) const;
    bool matchesName(std::string_view name) const;
    bool matchesDescription(std::string_view description) const;

    const QString& text() const { return m_text; }
    SearchIn in() const { return m_in; }

private:
    void fold(std::string_view bytes) const;

    QString m_text;
    SearchIn m_in;
    const CodePage* m_page;
    std::string m_glob; // folded; "*" and "?" wildcards
    std::string m_needle; // folded, for descriptions
    mutable std::string m_folded; // scratch: the text being tested, folded
};

/// One entry a search found.
struct SearchHit
{
    int area = 0; // record number
    std::size_t index = 0; // the entry's position in its Files List, from 0
    std::string name; // bytes in the code page, as the list holds them
    long long size = 0;
    std::string date; // as the list holds it
    std::string firstLine; // the description's first line, without its line end
};

/// Told of each area as it is searched.
class SearchSink
{
public:
    virtual ~SearchSink() = default;
    /// area was searched; hits are its entries that match, in list order (often none).
    virtual void areaSearched(const BoardArea& area, int position, int count, std::vector<SearchHit>& hits) = 0;
    /// area could not be read; its line has not been printed.
    virtual void areaSkipped(const AreaProblem& problem) = 0;
    /// Asked between areas and every CancelStride entries: true stops the search there.
    virtual bool cancelRequested() { return false; }
};

struct SearchSummary
{
    int areasSearched = 0;
    std::vector<AreaProblem> skipped;
    std::size_t entries = 0; // entries tested
    std::size_t hits = 0;
    bool cancelled = false;
};

/// Searches the areas of a board one after another, holding one area's entries at a time.
class BoardSearch
{
public:
    static constexpr std::size_t CancelStride = 4096;

    BoardSearch(const Board& board, const SearchPattern& pattern);

    void setProgress(BoardProgress* progress) { m_progress = progress; }

    /// Searches the areas of numbers in the order given.
    SearchSummary run(const std::vector<int>& numbers, SearchSink& sink);

private:
    const Board& m_board;
    const SearchPattern& m_pattern;
    BoardProgress* m_progress = nullptr;
};

/// A description's first line, without its line end.
std::string_view firstDescriptionLine(std::string_view description);

} // namespace Kelvane
