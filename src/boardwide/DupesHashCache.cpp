#include "boardwide/DupesHashCache.h"

#include "platform/DurableFile.h"
#include "platform/FileNames.h"
#include "platform/ProgramDirectory.h"

#include <openssl/evp.h>

#include <cstring>
#include <fstream>
#include <memory>
#include <system_error>
#include <vector>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

constexpr char Magic[4] = { 'K', 'V', 'H', 'C' };
constexpr std::uint32_t FormatNumber = 1;
constexpr std::size_t HeaderSize = sizeof Magic + sizeof(std::uint32_t) + sizeof(std::uint64_t);
constexpr std::size_t RecordSize = 4 * sizeof(std::uint64_t) + sizeof(ContentDigest);
constexpr std::size_t ChecksumSize = sizeof(std::uint64_t);

// A checksum that finds a cut, a flipped bit or a foreign file at memory speed: the cache of a
// million files is 64 MB, and a cryptographic hash of it would cost more than the run it saves.
// It guards against damage, not against someone who can write Kelvane's own directory.
std::uint64_t checksumOf(std::string_view bytes)
{
    std::uint64_t sum = 0x6b656c76616e6531ULL ^ bytes.size();
    std::size_t at = 0;
    for (; at + 8 <= bytes.size(); at += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes.data() + at, 8);
        sum = ((sum ^ word) << 31 | (sum ^ word) >> 33) * 0x9E3779B97F4A7C15ULL;
    }
    for (; at < bytes.size(); ++at)
        sum = (sum ^ static_cast<unsigned char>(bytes[at])) * 0x100000001B3ULL;
    return sum ^ (sum >> 29);
}

template <typename T> void put(std::string& bytes, T value)
{
    char raw[sizeof(T)];
    std::memcpy(raw, &value, sizeof(T));
    bytes.append(raw, sizeof(T));
}

template <typename T> T take(std::string_view bytes, std::size_t& at)
{
    T value;
    std::memcpy(&value, bytes.data() + at, sizeof(T));
    at += sizeof(T);
    return value;
}

} // namespace

std::optional<ContentDigest> digestOfFile(const fs::path& path, QString& reason)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::error_code error;
        reason = fs::exists(fs::symlink_status(path, error)) ? u"it cannot be read"_s
                                                             : u"it vanished before it could be read"_s;
        return std::nullopt;
    }
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    if (!context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1)
        throw std::runtime_error("the SHA-256 of libcrypto cannot be started");
    std::vector<char> buffer(1 << 20);
    while (in) {
        in.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
        const std::streamsize got = in.gcount();
        if (got > 0)
            EVP_DigestUpdate(context.get(), buffer.data(), static_cast<std::size_t>(got));
    }
    if (in.bad()) {
        reason = u"it cannot be read to its end"_s;
        return std::nullopt;
    }
    ContentDigest digest {};
    unsigned int length = 0;
    EVP_DigestFinal_ex(context.get(), digest.data(), &length);
    return digest;
}

fs::path DupesHashCache::defaultPath()
{
    return programDirectory() / "DUPES.HSH";
}

std::size_t DupesHashCache::IdentityHash::operator()(const FileIdentity& identity) const
{
    std::uint64_t h = identity.inode * 0x9E3779B97F4A7C15ULL;
    h ^= static_cast<std::uint64_t>(identity.modifiedNanoseconds) + 0x7F4A7C15ULL + (h << 6) + (h >> 2);
    h ^= identity.size + (h << 6) + (h >> 2);
    h ^= identity.device + (h << 6) + (h >> 2);
    return static_cast<std::size_t>(h);
}

std::string DupesHashCache::serialize() const
{
    std::string bytes;
    bytes.reserve(HeaderSize + m_hashes.size() * RecordSize + ChecksumSize);
    bytes.append(Magic, sizeof Magic);
    put<std::uint32_t>(bytes, FormatNumber);
    put<std::uint64_t>(bytes, m_hashes.size());
    for (const auto& [identity, stored] : m_hashes) {
        put<std::uint64_t>(bytes, identity.size);
        put<std::int64_t>(bytes, identity.modifiedNanoseconds);
        put<std::uint64_t>(bytes, identity.device);
        put<std::uint64_t>(bytes, identity.inode);
        bytes.append(reinterpret_cast<const char*>(stored.digest.data()), stored.digest.size());
    }
    put<std::uint64_t>(bytes, checksumOf(bytes));
    return bytes;
}

std::optional<DupesHashCache> DupesHashCache::parse(std::string_view bytes)
{
    if (bytes.size() < HeaderSize + ChecksumSize || std::memcmp(bytes.data(), Magic, sizeof Magic) != 0)
        return std::nullopt;
    std::size_t at = sizeof Magic;
    if (take<std::uint32_t>(bytes, at) != FormatNumber)
        return std::nullopt;
    const std::uint64_t count = take<std::uint64_t>(bytes, at);
    if (count > (bytes.size() - HeaderSize - ChecksumSize) / RecordSize
        || bytes.size() != HeaderSize + count * RecordSize + ChecksumSize)
        return std::nullopt;
    std::size_t end = bytes.size() - ChecksumSize;
    if (take<std::uint64_t>(bytes, end) != checksumOf(bytes.substr(0, bytes.size() - ChecksumSize)))
        return std::nullopt;
    DupesHashCache cache;
    cache.m_hashes.reserve(count);
    for (std::uint64_t i = 0; i < count; ++i) {
        FileIdentity identity;
        identity.size = take<std::uint64_t>(bytes, at);
        identity.modifiedNanoseconds = take<std::int64_t>(bytes, at);
        identity.device = take<std::uint64_t>(bytes, at);
        identity.inode = take<std::uint64_t>(bytes, at);
        Stored stored;
        std::memcpy(stored.digest.data(), bytes.data() + at, stored.digest.size());
        at += stored.digest.size();
        cache.m_hashes.emplace(identity, stored);
    }
    return cache;
}

void DupesHashCache::load(const fs::path& path, QString& problem)
{
    m_hashes.clear();
    m_changed = false;
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return; // none yet, or deleted: it is rebuilt
    std::string bytes;
    in.seekg(0, std::ios::end);
    const std::streamoff size = in.tellg();
    in.seekg(0, std::ios::beg);
    if (size > 0) {
        bytes.resize(static_cast<std::size_t>(size));
        in.read(bytes.data(), size);
    }
    std::optional<DupesHashCache> read = in.fail() ? std::nullopt : parse(bytes);
    if (!read) {
        problem = u"the hash cache "_s + unicodeFromPath(path)
            + u" is damaged or not Kelvane's; it is ignored and rebuilt"_s;
        m_changed = true;
        return;
    }
    m_hashes = std::move(read->m_hashes);
}

bool DupesHashCache::save(const fs::path& path, QString& problem) const
{
    try {
        fs::create_directories(path.parent_path());
        TemporaryFile written(path);
        written.write(serialize());
        written.finish();
        written.renameTo(path);
        return true;
    } catch (const std::exception& error) {
        problem = u"the hash cache "_s + unicodeFromPath(path) + u" could not be written: "_s
            + QString::fromLocal8Bit(error.what());
        return false;
    }
}

std::optional<ContentDigest> DupesHashCache::find(const FileIdentity& identity)
{
    const auto found = m_hashes.find(identity);
    if (found == m_hashes.end())
        return std::nullopt;
    found->second.touched = true;
    return found->second.digest;
}

void DupesHashCache::insert(const FileIdentity& identity, const ContentDigest& digest)
{
    m_hashes[identity] = Stored { digest, true };
    m_changed = true;
}

void DupesHashCache::dropUntouched()
{
    const std::size_t before = m_hashes.size();
    std::erase_if(m_hashes, [](const auto& item) { return !item.second.touched; });
    m_changed = m_changed || m_hashes.size() != before;
}

} // namespace Kelvane
