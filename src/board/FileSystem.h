#pragma once

#include <QString>

#include <filesystem>

namespace Kelvane {

class DirectoryListing;
class UserPort;

/// True when the path is not empty and names a directory that can be entered. Never
/// changes the process's current directory.
bool IsValidPath(const std::filesystem::path& path);

/// True when the directory exists or has been created, level by level from the root.
bool MakePath(const std::filesystem::path& path);

/// Makes the file writable by its owner (a symbolic link is left as it is); false when the
/// file cannot be read.
bool ClearAttributes(const std::filesystem::path& path);

/// The short (8.3) form of a full path: its directory and the name's alias within listing
/// (the listing of the path's directory). A path that does not exist gives 256 spaces.
QString ShortPathOf(const std::filesystem::path& path, const DirectoryListing& listing);

/// The platform's folder chooser; the chosen path, or empty when cancelled.
QString BrowseForFolder(UserPort& port, const QString& prompt);

/// The drive root the offline-CD prompt names: on Windows the first three characters,
/// elsewhere the mount point that holds the path (or its nearest existing parent).
QString driveRoot(const std::filesystem::path& path);

/// Test seam: the directory creation MakePath uses.
using MakeDirectoryFunction = bool (*)(const std::filesystem::path&);
void setMakeDirectoryFunction(MakeDirectoryFunction function);

} // namespace Kelvane
