#include "platform/FileIdentity.h"

namespace Kelvane {

namespace fs = std::filesystem;

std::optional<FileIdentity> identityOf(const fs::path& path)
{
#ifdef _WIN32
    std::error_code error;
    const std::uintmax_t size = fs::file_size(path, error);
    if (error)
        return std::nullopt;
    const fs::file_time_type modified = fs::last_write_time(path, error);
    if (error)
        return std::nullopt;
    return FileIdentity { size,
                          std::chrono::duration_cast<std::chrono::nanoseconds>(modified.time_since_epoch()).count(), 0,
                          0 };
#else
    // One stat call gives all four; std::filesystem would need three and has no inode.
    struct stat info
    {
    };
    if (::stat(path.c_str(), &info) != 0)
        return std::nullopt;
    return identityOf(info);
#endif
}

#ifndef _WIN32
FileIdentity identityOf(const struct stat& info)
{
    return FileIdentity { static_cast<std::uintmax_t>(info.st_size),
                          static_cast<std::int64_t>(info.st_mtim.tv_sec) * 1000000000 + info.st_mtim.tv_nsec,
                          static_cast<std::uint64_t>(info.st_dev), static_cast<std::uint64_t>(info.st_ino) };
}
#endif

} // namespace Kelvane
