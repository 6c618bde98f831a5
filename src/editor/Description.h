#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace Kelvane {

/// The description of an entry that has none to take from its archive.
constexpr std::string_view NoDescription = "No Description";

/// The member an archive's description is taken from.
constexpr std::string_view DescriptionMember = "FILE_ID.DIZ";

/// A description from the text of a FILE_ID.DIZ: its first 20 non-blank lines, each cut to
/// 45 characters and right-trimmed, each followed by CR LF. A Ctrl+Z ends the text.
std::string descriptionFromDiz(std::string_view text);

/// The description of the FILE_ID.DIZ extracted into the Work directory, when one is there
/// (whatever the case of its name); the file is deleted afterwards, or left when it cannot
/// be made writable, and then serves the next file too.
std::optional<std::string> takeExtractedDescription(const std::filesystem::path& workDirectory);

/// The descriptions of the new files of one run (a scan, a Read DIZ), each taken as the Work
/// directory gives it: the archive's FILE_ID.DIZ extracted there, read and deleted, or one
/// left there before.
///
/// The round trip through the disk changes nothing as long as Work holds no description
/// and a written one can be deleted again: the file read back is the member's bytes. So
/// once one archive's description has gone through Work and left it empty, the next
/// members are read straight into memory. A Work directory holding a description that
/// cannot be deleted, or where none can be written, keeps every file on the disk's way.
class WorkDescriptions
{
public:
    explicit WorkDescriptions(std::filesystem::path workDirectory);

    /// The description for file: its FILE_ID.DIZ when isArchive, else (or when it has none)
    /// one left in the Work directory; nothing when there is neither.
    std::optional<std::string> take(const std::filesystem::path& file, bool isArchive);

private:
    std::filesystem::path m_work;
    bool m_direct = false; // Work was seen empty after a description written there was deleted
};

/// Whether a file is read as an archive: the new-file scan takes ".ZIP" anywhere in the
/// upper-case name, Read DIZ only a name ending in ".ZIP"; both take names ending in .7Z,
/// .RAR, .ARJ, .LZH and .LHA.
bool isScanArchiveName(std::string_view upperName);
bool isReadDizArchiveName(std::string_view upperName);

} // namespace Kelvane
