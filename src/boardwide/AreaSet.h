#pragma once

#include <QString>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Kelvane {

class CodePage;

/// How an operator names the areas a command works on.
///
/// Each word is a record number ("3"), a range of them ("3-7"), an exact title ("Games &
/// More"), or several of these joined by commas ("1,3-5,Games"). A word is first taken whole
/// (a number, then an exact title, so a title holding a comma or a hyphen is still found),
/// and only then split. --all takes every area; each --match GLOB takes the areas whose title
/// matches it ignoring case ("*" any run of characters, "?" one character).
struct AreaSelection
{
    std::vector<std::string> words; // as typed, UTF-8
    bool all = false;
    std::vector<std::string> match;

    bool empty() const { return words.empty() && !all && match.empty(); }
};

/// The areas a selection names.
struct AreaSet
{
    std::vector<int> numbers; // record numbers (first = 1), ascending, each once
    /// The selection was one word naming one area: commands keep their one-area output.
    bool single = false;
};

/// A selection naming an area the board does not have, a range the wrong way round, or a
/// glob no title matches: refused before any area is touched.
class AreaSetError : public std::runtime_error
{
public:
    explicit AreaSetError(const QString& message);
    QString message() const { return QString::fromStdString(what()); }
};

/// The areas selection names among the board's titles (bytes in page, in record order; none
/// for a damaged record, which numbers and ranges still name but titles and globs cannot).
AreaSet resolveAreaSet(const AreaSelection& selection,
                       const std::vector<std::optional<std::string>>& titles,
                       const CodePage& page);

/// Whether text matches glob ignoring case: "*" any run of characters, "?" one character.
bool matchesGlob(const QString& text, const QString& glob);

} // namespace Kelvane
