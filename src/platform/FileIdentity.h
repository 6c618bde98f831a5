#pragma once

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <optional>

#ifndef _WIN32
#include <sys/stat.h>
#endif

namespace Kelvane {

/// What tells one version of a file from another without reading it: its size, its time of
/// last change and, where the system has them, its device and inode (0 elsewhere). A cache
/// keyed by these reads a file again only when one of them moved.
struct FileIdentity
{
    std::uintmax_t size = 0;
    std::int64_t modifiedNanoseconds = 0; // since the system's file-time epoch
    std::uint64_t device = 0;
    std::uint64_t inode = 0;

    bool operator==(const FileIdentity&) const = default;
};

/// The identity of the file at path (a symbolic link followed); nothing when it is gone.
std::optional<FileIdentity> identityOf(const std::filesystem::path& path);

/// The second of the file's last change, as time_t counts it.
std::time_t modifiedSeconds(const FileIdentity& identity);

/// One look at a file (a symbolic link followed): its identity, and whether it is an
/// ordinary file, for a caller that wants both its date and its length; nothing when the
/// look failed.
struct FileStatus
{
    FileIdentity identity;
    bool regular = false;
};
std::optional<FileStatus> statusOf(const std::filesystem::path& path);

/// A directory held open for looks at its files by name: the system walks the directory's
/// own path once, not once per file. One that cannot be opened is looked in by path.
class OpenDirectory
{
public:
    explicit OpenDirectory(std::filesystem::path directory);
    ~OpenDirectory();
    OpenDirectory(const OpenDirectory&) = delete;
    OpenDirectory& operator=(const OpenDirectory&) = delete;

    /// statusOf the file name in the directory.
    std::optional<FileStatus> statusOf(const std::filesystem::path& name) const;

private:
    std::filesystem::path m_directory;
    int m_descriptor = -1;
};

#ifndef _WIN32
/// The identity that one stat call gave.
FileIdentity identityOf(const struct stat& info);
#endif

} // namespace Kelvane
