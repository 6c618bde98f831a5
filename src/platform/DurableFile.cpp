#include "platform/DurableFile.h"

#include <QRandomGenerator>

#include <cerrno>
#include <fcntl.h>
#include <system_error>

#ifdef _WIN32
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#else
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail(int code, const fs::path& path, const char* operation)
{
    throw fs::filesystem_error(operation, path, std::error_code(code, std::generic_category()));
}

int openExclusive(const fs::path& path)
{
#ifdef _WIN32
    int descriptor = -1;
    _wsopen_s(&descriptor, path.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY, _SH_DENYRW, _S_IREAD | _S_IWRITE);
    return descriptor;
#else
    return ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
#endif
}

// Whether the file at path is the temporary of a save that was killed before its end, and
// if so removes it. A save in progress holds its temporary locked (open without sharing on
// Windows), so only an abandoned one can be taken.
bool removeIfAbandoned(const fs::path& path)
{
#ifdef _WIN32
    return _wremove(path.c_str()) == 0;
#else
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (descriptor < 0)
        return false;
    bool removed = false;
    struct stat opened
    {
    };
    struct stat named
    {
    };
    if (::flock(descriptor, LOCK_EX | LOCK_NB) == 0 && ::fstat(descriptor, &opened) == 0
        && ::lstat(path.c_str(), &named) == 0 && opened.st_ino == named.st_ino && opened.st_dev == named.st_dev)
        removed = ::unlink(path.c_str()) == 0;
    ::close(descriptor);
    return removed;
#endif
}

// Holds the new temporary for the life of the save (see removeIfAbandoned).
bool lockForSave(int descriptor)
{
#ifdef _WIN32
    (void)descriptor;
    return true;
#else
    return ::flock(descriptor, LOCK_EX | LOCK_NB) == 0;
#endif
}

void closeDescriptor(int descriptor)
{
#ifdef _WIN32
    _close(descriptor);
#else
    ::close(descriptor);
#endif
}

} // namespace

TemporaryFile::TemporaryFile(const fs::path& target, SaveStepHook hook)
    : m_hook(std::move(hook))
{
    step(SaveStep::CreateTemporary);
    const fs::path directory = target.has_parent_path() ? target.parent_path() : fs::path(".");
    // The temporary has one name per list, so that the next save finds, and removes, the
    // temporary of a save that was killed; two saves of one list at once take the second
    // a name of its own.
    const fs::path own = directory / ("." + target.filename().string() + ".tmp");
    m_descriptor = openExclusive(own);
    if (m_descriptor < 0 && errno == EEXIST && removeIfAbandoned(own))
        m_descriptor = openExclusive(own);
    if (m_descriptor >= 0) {
        if (lockForSave(m_descriptor)) {
            m_path = own;
            return;
        }
        closeDescriptor(m_descriptor);
        m_descriptor = -1;
        std::error_code ignored;
        fs::remove(own, ignored);
    }
    for (int attempt = 0; attempt < 100; ++attempt) {
        const fs::path candidate = directory
            / ("." + target.filename().string() + "." + std::to_string(QRandomGenerator::global()->generate())
               + ".tmp");
        m_descriptor = openExclusive(candidate);
        if (m_descriptor >= 0) {
            m_path = candidate;
            lockForSave(m_descriptor);
            return;
        }
        if (errno != EEXIST)
            fail(errno, candidate, "create");
    }
    fail(EEXIST, directory, "create");
}

TemporaryFile::~TemporaryFile()
{
    if (!m_placed && !m_path.empty()) {
        std::error_code ignored;
        fs::remove(m_path, ignored);
    }
    if (m_descriptor >= 0)
        closeDescriptor(m_descriptor);
}

void TemporaryFile::step(SaveStep step) const
{
    if (m_hook)
        m_hook(step);
}

void TemporaryFile::write(std::string_view bytes)
{
    step(SaveStep::Write);
    while (!bytes.empty()) {
#ifdef _WIN32
        const int written
            = _write(m_descriptor, bytes.data(), static_cast<unsigned>(std::min<std::size_t>(bytes.size(), 1 << 30)));
#else
        const ssize_t written = ::write(m_descriptor, bytes.data(), bytes.size());
#endif
        if (written < 0) {
            if (errno == EINTR)
                continue;
            fail(errno, m_path, "write");
        }
        if (written == 0)
            fail(ENOSPC, m_path, "write");
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

void TemporaryFile::finish()
{
    step(SaveStep::FlushToDisk);
#ifdef _WIN32
    if (_commit(m_descriptor) != 0)
        fail(errno, m_path, "flush");
    // Windows renames no file that is still open, so the temporary closes here.
    const int closed = _close(m_descriptor);
    m_descriptor = -1;
    if (closed != 0)
        fail(errno, m_path, "close");
#else
    if (::fsync(m_descriptor) != 0)
        fail(errno, m_path, "flush");
#endif
}

void TemporaryFile::renameTo(const fs::path& target)
{
    step(SaveStep::RenameIntoPlace);
    fs::rename(m_path, target);
    m_placed = true;
    // Closed only now: the lock marks the temporary as in use until it has its new name.
    if (m_descriptor >= 0)
        closeDescriptor(m_descriptor);
    m_descriptor = -1;
    syncDirectory(target.has_parent_path() ? target.parent_path() : fs::path("."));
}

void syncDirectory(const fs::path& directory)
{
#ifndef _WIN32
    const int descriptor = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    ::fsync(descriptor);
    ::close(descriptor);
#else
    (void)directory;
#endif
}

} // namespace Kelvane
