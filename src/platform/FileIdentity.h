#pragma once

#include <cstdint>
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

#ifndef _WIN32
/// The identity that one stat call gave.
FileIdentity identityOf(const struct stat& info);
#endif

} // namespace Kelvane
