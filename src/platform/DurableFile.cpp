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

} // namespace

TemporaryFile::TemporaryFile(const fs::path& target, SaveStepHook hook)
    : m_hook(std::move(hook))
{
    step(SaveStep::CreateTemporary);
    const fs::path directory = target.has_parent_path() ? target.parent_path() : fs::path(".");
    for (int attempt = 0; attempt < 100; ++attempt) {
        const fs::path candidate = directory
            / ("." + target.filename().string() + "." + std::to_string(QRandomGenerator::global()->generate())
               + ".tmp");
        m_descriptor = openExclusive(candidate);
        if (m_descriptor >= 0) {
            m_path = candidate;
            return;
        }
        if (errno != EEXIST)
            fail(errno, candidate, "create");
    }
    fail(EEXIST, directory, "create");
}

TemporaryFile::~TemporaryFile()
{
    if (m_descriptor >= 0) {
#ifdef _WIN32
        _close(m_descriptor);
#else
        ::close(m_descriptor);
#endif
    }
    if (!m_placed && !m_path.empty()) {
        std::error_code ignored;
        fs::remove(m_path, ignored);
    }
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
    const int closed = _close(m_descriptor);
#else
    if (::fsync(m_descriptor) != 0)
        fail(errno, m_path, "flush");
    const int closed = ::close(m_descriptor);
#endif
    m_descriptor = -1;
    if (closed != 0)
        fail(errno, m_path, "close");
}

void TemporaryFile::renameTo(const fs::path& target)
{
    step(SaveStep::RenameIntoPlace);
    fs::rename(m_path, target);
    m_placed = true;
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
