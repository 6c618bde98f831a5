#pragma once

#include <filesystem>
#include <functional>
#include <string_view>

namespace Kelvane {

/// The steps of writing a file whole beside the one it replaces.
enum class SaveStep { CreateTemporary, Write, FlushToDisk, RemoveBackup, RenameToBackup, RenameIntoPlace };

/// Called before each step; a test throws from it to make that step fail.
using SaveStepHook = std::function<void(SaveStep)>;

/// A new file written beside the file it will replace, under a hidden temporary name, and
/// flushed to disk before anything is renamed: a failure or a killed process at any moment
/// leaves the old file whole. The destructor removes the temporary file unless it was
/// renamed into place.
class TemporaryFile
{
public:
    TemporaryFile(const std::filesystem::path& target, SaveStepHook hook = {});
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    void write(std::string_view bytes);
    /// Flushes the data to the disk and closes the file.
    void finish();
    /// Renames the finished file to target (replacing it) and makes the rename durable.
    void renameTo(const std::filesystem::path& target);

    const std::filesystem::path& path() const { return m_path; }

private:
    void step(SaveStep step) const;

    std::filesystem::path m_path;
    SaveStepHook m_hook;
    int m_descriptor = -1;
    bool m_placed = false;
};

/// Makes the renames in directory durable where the system allows it (best effort).
void syncDirectory(const std::filesystem::path& directory);

} // namespace Kelvane
