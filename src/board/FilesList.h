#pragma once

#include "board/ListStamp.h"
#include "platform/DurableFile.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Kelvane {

class Session;

/// One entry of a Files List, its four fields as bytes in the board's code page.
struct Entry
{
    std::string FileName;
    std::string Size; // the byte count with Basic's blank before it: " 12345"
    std::string Date; // normally "MM-DD-YY"
    std::string Description; // every line followed by CR LF

    bool operator==(const Entry&) const = default;
};

/// The open area's entries, in list order.
using EntryList = std::vector<Entry>;

/// The Files List's fixed-column text layout, on bytes only. An entry line holds the name in
/// columns 1-12, the size right-aligned in 13-21, " date " in 22-31 and the first description
/// line in 32-76; a continuation line holds 31 blanks and one more description line.
namespace FilesListFormat {

/// The columns of one description line (32-76).
inline constexpr std::size_t DescriptionWidth = 45;

/// The long name an 8.3 alias stands for, as found on disk, or nothing.
using AliasResolver = std::function<std::optional<std::string>(std::string_view alias)>;
/// The name a name longer than 12 characters is written as.
using ShortNamer = std::function<std::string(std::string_view name)>;
/// Receives the written bytes, a piece at a time.
using Sink = std::function<void(std::string_view bytes)>;

/// Calls visit for every line of text: split on CR LF, then on a lone CR; a lone LF stays
/// part of its line, except in a text holding no CR at all, where every LF ends a line.
void forEachLine(std::string_view text, const std::function<void(std::string_view)>& visit);

struct Parsed
{
    std::vector<Entry> entries;
    std::size_t entryLines = 0;
};

/// The entries of a Files List. Continuation lines before the first entry are dropped; the
/// size is read from column 14, so a nine-digit size loses its first digit.
Parsed parse(std::string_view data, const AliasResolver& resolveAlias);

/// Writes entries to sink; false when an empty name stopped the writing (the entries from
/// it on are not written).
bool format(const std::vector<Entry>& entries, const ShortNamer& shortName, const Sink& sink);

/// The next line of a description being written and the rest after it: a CR within the
/// first 46 characters ends the line; otherwise a text of 45 or more is wrapped at its last
/// space within 45 columns, or cut at 45.
std::pair<std::string_view, std::string_view> splitDescriptionLine(std::string_view text);

} // namespace FilesListFormat

/// The backup of a Files List: the text before "FILES.LST" (upper case only) followed by
/// "FILES.BAK"; nothing for a list of another name.
std::optional<std::filesystem::path> backupPathOf(const std::filesystem::path& filesList);

/// The bytes of the Files List at path; a filesystem_error when it cannot be read or is not
/// an ordinary file.
std::string readFilesListBytes(const std::filesystem::path& path);

/// Reads the current area's Files List into entries (a missing list is created empty) and
/// sets FileCount and ListIsEmpty. A read that fails leaves entries empty, so an empty list
/// can never be saved over a good one.
bool Load_fEditFileArealsv(Session& session, EntryList& entries);

/// Writes entries to the current area's Files List, keeping the previous list as FILES.BAK,
/// and says so. The new list is written whole and flushed to disk before the old one is
/// moved: a failure at any step leaves the old list whole and is reported.
///
/// origin is the stamp of the list the entries were read from, and is renewed by the save.
/// Entries are only ever written back to that list: when the current area's list is another
/// one (an area opened since they were read), the save is refused as a run-time error and
/// nothing is written.
bool SaveWork(Session& session, const EntryList& entries, ListStamp& origin, const SaveStepHook& hook = {});
/// The same, for entries that the session itself read last (its listStamp).
bool SaveWork(Session& session, const EntryList& entries, const SaveStepHook& hook = {});

} // namespace Kelvane
