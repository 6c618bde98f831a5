#include "board/ListStamp.h"

#include <cstring>
#include <fstream>
#include <vector>

namespace fs = std::filesystem;

namespace Kelvane {

namespace {

constexpr std::uint64_t Multiplier = 0x9E3779B97F4A7C15ULL;

std::uint64_t mix(std::uint64_t state, std::uint64_t word)
{
    state = (state ^ word) * Multiplier;
    return state ^ (state >> 29);
}

} // namespace

void ListHash::add(std::string_view bytes)
{
    std::size_t at = 0;
    m_length += bytes.size();
    while (m_pendingCount > 0 && at < bytes.size()) {
        m_pending |= std::uint64_t(static_cast<unsigned char>(bytes[at++])) << (8 * m_pendingCount);
        if (++m_pendingCount == 8) {
            m_state = mix(m_state, m_pending);
            m_pending = 0;
            m_pendingCount = 0;
        }
    }
    for (; at + 8 <= bytes.size(); at += 8) {
        std::uint64_t word;
        std::memcpy(&word, bytes.data() + at, sizeof word);
        m_state = mix(m_state, word);
    }
    for (; at < bytes.size(); ++at)
        m_pending |= std::uint64_t(static_cast<unsigned char>(bytes[at])) << (8 * m_pendingCount++);
}

std::uint64_t ListHash::value() const
{
    std::uint64_t state = m_state;
    if (m_pendingCount > 0)
        state = mix(state, m_pending);
    return mix(state, m_length);
}

std::uint64_t hashOf(std::string_view bytes)
{
    ListHash hash;
    hash.add(bytes);
    return hash.value();
}

ListStamp stampOf(const fs::path& path)
{
    ListStamp stamp;
    stamp.list = path;
    stamp.known = true;
    std::error_code error;
    stamp.existed = fs::is_regular_file(path, error);
    if (stamp.existed) {
        stamp.size = fs::file_size(path, error);
        stamp.modified = fs::last_write_time(path, error);
    }
    return stamp;
}

bool changedOnDisk(const fs::path& path, const ListStamp& stamp)
{
    if (!stamp.known)
        return false;
    std::error_code error;
    const bool exists = fs::is_regular_file(path, error);
    if (exists != stamp.existed)
        return true;
    if (!exists)
        return false;
    if (fs::file_size(path, error) != stamp.size || error)
        return true;
    if (fs::last_write_time(path, error) != stamp.modified || error)
        return true;
    // Same size and time: the bytes decide, for a writer that kept both.
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return true;
    ListHash hash;
    std::vector<char> buffer(1 << 20);
    while (in) {
        in.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
        hash.add(std::string_view(buffer.data(), static_cast<std::size_t>(in.gcount())));
    }
    return hash.value() != stamp.hash;
}

} // namespace Kelvane
