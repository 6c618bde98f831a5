#pragma once

#include <string>
#include <string_view>

namespace Kelvane {

class Session;

/// Rebuilds the index file of every area on the Make Index list, then empties the list and
/// clears IndexPending. Progress goes through the session's port.
///
/// An index file is a sequence of 15-byte records, one per file of the area's directories
/// in slot order and listing order: the slot number (16-bit little-endian), then the file's
/// upper-case short name, a NUL, and blanks to 13 bytes. A skipped name ("*.BAK",
/// "FILES.*") keeps its record number, leaving a record of zero bytes.
void Make_Index_File(Session& session);

/// Whether an upper-case name matches a pattern of "*" wildcards (any run of characters, none
/// included) and "?" (any one character), as file names are matched; other characters match
/// exactly.
bool matchesPattern(std::string_view name, std::string_view pattern);

} // namespace Kelvane
