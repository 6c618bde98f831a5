#include "platform/FileIdentity.h"

#include <chrono>

#ifndef _WIN32
#include <fcntl.h>
#include <unistd.h>
#endif

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

std::time_t modifiedSeconds(const FileIdentity& identity)
{
#ifdef _WIN32
    const auto written = std::chrono::file_clock::to_sys(
        fs::file_time_type(std::chrono::duration_cast<fs::file_time_type::duration>(
            std::chrono::nanoseconds(identity.modifiedNanoseconds))));
    return std::chrono::system_clock::to_time_t(
        std::chrono::time_point_cast<std::chrono::system_clock::duration>(written));
#else
    // Rounded down, as the system's own seconds are, before 1970 too.
    constexpr std::int64_t second = 1000000000;
    const std::int64_t nanoseconds = identity.modifiedNanoseconds;
    return static_cast<std::time_t>(nanoseconds / second - (nanoseconds % second < 0 ? 1 : 0));
#endif
}

std::optional<FileStatus> statusOf(const fs::path& path)
{
#ifdef _WIN32
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (error)
        return std::nullopt;
    const std::optional<FileIdentity> identity = identityOf(path);
    if (!identity)
        return std::nullopt;
    return FileStatus { *identity, fs::is_regular_file(status) };
#else
    struct stat info
    {
    };
    if (::stat(path.c_str(), &info) != 0)
        return std::nullopt;
    return FileStatus { identityOf(info), S_ISREG(info.st_mode) };
#endif
}

OpenDirectory::OpenDirectory(fs::path directory)
    : m_directory(std::move(directory))
{
#if defined(O_PATH)
    // A descriptor for looking up names only: the directory need not be readable.
    m_descriptor = ::open(m_directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
#elif !defined(_WIN32)
    m_descriptor = ::open(m_directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
#endif
}

OpenDirectory::~OpenDirectory()
{
#ifndef _WIN32
    if (m_descriptor >= 0)
        ::close(m_descriptor);
#endif
}

std::optional<FileStatus> OpenDirectory::statusOf(const fs::path& name) const
{
#ifndef _WIN32
    if (m_descriptor >= 0) {
        struct stat info
        {
        };
        if (::fstatat(m_descriptor, name.c_str(), &info, 0) != 0)
            return std::nullopt;
        return FileStatus { identityOf(info), S_ISREG(info.st_mode) };
    }
#endif
    return Kelvane::statusOf(m_directory / name);
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
