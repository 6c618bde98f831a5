#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>

namespace Kelvane {

/// What a Files List was on disk when Kelvane last read or wrote it: its size, its time of
/// last change and a hash of its bytes. The board appends an upload's entry to the list
/// while the operator edits it; a save compares the stamp with the file as it is then, so
/// that entry is not overwritten unnoticed.
struct ListStamp
{
    std::filesystem::path list; // the Files List the stamp was taken of
    bool known = false; // a list was read or written since the area was opened
    bool existed = false;
    std::uintmax_t size = 0;
    std::filesystem::file_time_type modified {};
    std::uint64_t hash = 0;
};

/// A hash of bytes for telling one version of a list from another (not against an
/// adversary): eight bytes a step, so 23 MB cost a few milliseconds.
class ListHash
{
public:
    void add(std::string_view bytes);
    std::uint64_t value() const;

private:
    std::uint64_t m_state = 0x243F6A8885A308D3ULL;
    std::uint64_t m_length = 0;
    std::uint64_t m_pending = 0; // bytes not yet making a whole step
    int m_pendingCount = 0;
};

/// The hash a stamp keeps of bytes.
std::uint64_t hashOf(std::string_view bytes);

/// The size and time of the list at path as they are now, its hash still to be set from
/// the bytes read (or written) next: taken first, a change in between reads as a change.
ListStamp stampOf(const std::filesystem::path& path);

/// Whether the list at path is no longer what stamp says: gone, another size, another
/// time or other bytes. An unknown stamp never reads as changed.
bool changedOnDisk(const std::filesystem::path& path, const ListStamp& stamp);

} // namespace Kelvane
