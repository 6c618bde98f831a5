#pragma once

#include "platform/FileIdentity.h"

#include <QString>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Kelvane {

/// A path from text, spelled as the file system spells names (UTF-8 on Linux and macOS).
std::filesystem::path pathFromUnicode(const QString& text);
/// A path's text; bytes that are not UTF-8 become replacement characters.
QString unicodeFromPath(const std::filesystem::path& path);

/// The case-insensitive key of a file name: the board's files came from a system whose
/// names ignore case, so every "a file of this name in directory D" test compares keys.
QString foldName(const QString& name);

/// True when name can name a file inside a directory and nothing else: not empty, not "."
/// or "..", no separator, no NUL, not absolute.
bool isPlainName(const QString& name);

/// One file of a directory listing: its name on disk, as text, and as its case-insensitive
/// key; its identity when the listing was asked for identities.
struct ListedFile
{
    std::filesystem::path name;
    QString text;
    QString key;
    FileIdentity identity;
};

/// The files of one directory as the board sees them: ordinary files and symbolic links to
/// ordinary files; no directories, no hidden files (a leading "." outside Windows), sorted
/// by name ignoring case. A directory that cannot be listed raises filesystem_error.
/// Unsorted, the files come in the directory's own order, for a caller that only looks names up.
/// With identities, each file's is taken in the same pass, by its name within the open
/// directory (no walk of the whole path per file); a file that vanishes meanwhile is left out.
enum class ListingOrder { ByName, Unsorted };
enum class ListingDetail { Names, Identities };
std::vector<ListedFile> listDirectory(const std::filesystem::path& directory,
                                      ListingOrder order = ListingOrder::ByName,
                                      ListingDetail detail = ListingDetail::Names);
/// The names of listDirectory.
std::vector<std::filesystem::path> listDirectoryFiles(const std::filesystem::path& directory);

/// The entry of directory named name whatever the case of its name on disk, a folder or an
/// ordinary file as asked: the exact spelling wins, then the first in sorted order. For the
/// program's own files; a board's files are found through their directory's listing.
enum class EntryKind { Folder, File };
std::optional<std::filesystem::path>
findEntry(const std::filesystem::path& directory, const QString& name, EntryKind kind);

/// The file-name part of a path as text.
QString fileNameText(const std::filesystem::path& path);

} // namespace Kelvane
