#include "boardwide/DupesHashCache.h"

#include "platform/DurableFile.h"
#include "platform/FileNames.h"
#include "platform/ProgramDirectory.h"

#include <openssl/evp.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <memory>
#include <system_error>
#include <tuple>
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
class Checksum
{
public:
    explicit Checksum(std::size_t total)
        : m_sum(0x6b656c76616e6531ULL ^ total)
    {
    }
    void add(const char* data, std::size_t size)
    {
        std::size_t at = 0;
        for (; at + 8 <= size; at += 8) {
            std::uint64_t word = 0;
            std::memcpy(&word, data + at, 8);
            m_sum = ((m_sum ^ word) << 31 | (m_sum ^ word) >> 33) * 0x9E3779B97F4A7C15ULL;
        }
        for (; at < size; ++at)
            m_sum = (m_sum ^ static_cast<unsigned char>(data[at])) * 0x100000001B3ULL;
    }
    std::uint64_t value() const { return m_sum ^ (m_sum >> 29); }

private:
    std::uint64_t m_sum;
};

std::uint64_t checksumOf(std::string_view bytes)
{
    Checksum sum(bytes.size());
    sum.add(bytes.data(), bytes.size());
    return sum.value();
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

// The records are read into memory as the file holds them.
static_assert(sizeof(std::uintmax_t) == 8 && sizeof(FileIdentity) == 32 && sizeof(ContentDigest) == 32);
static_assert(offsetof(FileIdentity, size) == 0 && offsetof(FileIdentity, modifiedNanoseconds) == 8
              && offsetof(FileIdentity, device) == 16 && offsetof(FileIdentity, inode) == 24);

bool DupesHashCache::before(const FileIdentity& a, const FileIdentity& b)
{
    return std::tie(a.size, a.device, a.inode, a.modifiedNanoseconds)
        < std::tie(b.size, b.device, b.inode, b.modifiedNanoseconds);
}

std::size_t DupesHashCache::position(const FileIdentity& identity)
{
    const auto less = [](const Record& record, const FileIdentity& wanted) { return before(record.identity, wanted); };
    const std::size_t count = m_sorted.size();
    const std::size_t at = std::min(m_cursor, count);
    std::size_t low = 0;
    std::size_t high = at;
    if (at < count && before(m_sorted[at].identity, identity)) {
        // Onwards from the last look-up, in steps that double: a run in order costs a step or two each.
        low = at + 1;
        high = at + 1;
        for (std::size_t step = 1; high < count && before(m_sorted[high].identity, identity);) {
            low = high + 1;
            step *= 2;
            high = at + step;
        }
        high = std::min(high, count);
    }
    m_cursor = static_cast<std::size_t>(std::lower_bound(m_sorted.begin() + static_cast<std::ptrdiff_t>(low),
                                                         m_sorted.begin() + static_cast<std::ptrdiff_t>(high), identity,
                                                         less)
                                        - m_sorted.begin());
    return m_cursor;
}

bool DupesHashCache::adopt(std::vector<Record> records)
{
    const std::span<Record> own = records;
    return adopt(std::move(records), nullptr, own);
}

bool DupesHashCache::adopt(std::vector<Record> owned, std::unique_ptr<char[]> loaded, std::span<Record> records)
{
    // A file this program wrote is in order already; an older one is sorted, the first of two
    // records of one identity kept, and counts as changed: written again in order, the next
    // run sorts nothing.
    const auto less = [](const Record& a, const Record& b) { return before(a.identity, b.identity); };
    m_changed = !std::is_sorted(records.begin(), records.end(), less);
    if (m_changed) {
        if (loaded) {
            owned.assign(records.begin(), records.end());
            loaded.reset();
        }
        std::stable_sort(owned.begin(), owned.end(), less);
        owned.erase(std::unique(owned.begin(), owned.end(),
                                [](const Record& a, const Record& b) { return a.identity == b.identity; }),
                    owned.end());
        records = owned;
    }
    // Moving the vector keeps its block: records still spans it.
    m_owned = std::move(owned);
    m_loaded = std::move(loaded);
    m_sorted = records;
    m_touched.assign(m_sorted.size(), 0);
    m_cursor = 0;
    m_added.clear();
    return true;
}

std::string DupesHashCache::serialize() const
{
    std::vector<Record> added;
    added.reserve(m_added.size());
    for (const auto& [identity, digest] : m_added)
        added.push_back({ identity, digest });
    const auto less = [](const Record& a, const Record& b) { return before(a.identity, b.identity); };
    std::sort(added.begin(), added.end(), less);
    const std::size_t count = m_sorted.size() + added.size();
    std::string bytes;
    bytes.reserve(HeaderSize + count * RecordSize + ChecksumSize);
    bytes.append(Magic, sizeof Magic);
    put<std::uint32_t>(bytes, FormatNumber);
    put<std::uint64_t>(bytes, count);
    // Written in the order a load keeps, so the next run sorts nothing.
    std::vector<Record> all(count);
    std::merge(m_sorted.begin(), m_sorted.end(), added.begin(), added.end(), all.begin(), less);
    bytes.append(reinterpret_cast<const char*>(all.data()), count * RecordSize);
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
    std::vector<Record> records(count);
    std::memcpy(records.data(), bytes.data() + at, count * RecordSize);
    DupesHashCache cache;
    cache.adopt(std::move(records));
    return cache;
}

void DupesHashCache::load(const fs::path& path, QString& problem)
{
    adopt({});
    m_changed = false;
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return; // none yet, or deleted: it is rebuilt
    // The file is read whole into a block that is not cleared first, and its records are used
    // where they lie: no array to fill, no copy. (A mapping would cost less still, but a file
    // cut short under it by another program would end this one.)
    const auto sound = [&]() -> bool {
        in.seekg(0, std::ios::end);
        const std::streamoff size = in.tellg();
        in.seekg(0, std::ios::beg);
        if (!in || size < static_cast<std::streamoff>(HeaderSize + ChecksumSize))
            return false;
        const auto total = static_cast<std::uint64_t>(size);
        auto loaded = std::make_unique_for_overwrite<char[]>(static_cast<std::size_t>(total));
        if (!in.read(loaded.get(), size))
            return false;
        const std::string_view bytes(loaded.get(), static_cast<std::size_t>(total));
        if (std::memcmp(bytes.data(), Magic, sizeof Magic) != 0)
            return false;
        std::size_t at = sizeof Magic;
        if (take<std::uint32_t>(bytes, at) != FormatNumber)
            return false;
        const std::uint64_t count = take<std::uint64_t>(bytes, at);
        if (count > (total - HeaderSize - ChecksumSize) / RecordSize
            || total != HeaderSize + count * RecordSize + ChecksumSize)
            return false;
        std::size_t end = bytes.size() - ChecksumSize;
        if (take<std::uint64_t>(bytes, end) != checksumOf(bytes.substr(0, bytes.size() - ChecksumSize)))
            return false;
        // The records start 16 bytes into a block new aligns for any fundamental type.
        static_assert(HeaderSize % alignof(Record) == 0 && __STDCPP_DEFAULT_NEW_ALIGNMENT__ >= alignof(Record));
        const std::span<Record> records(reinterpret_cast<Record*>(loaded.get() + HeaderSize), count);
        return adopt({}, std::move(loaded), records);
    };
    if (!sound()) {
        adopt({});
        problem = u"the hash cache "_s + unicodeFromPath(path)
            + u" is damaged or not Kelvane's; it is ignored and rebuilt"_s;
        m_changed = true;
    }
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
    const std::size_t at = position(identity);
    if (at < m_sorted.size() && m_sorted[at].identity == identity) {
        m_touched[at] = 1;
        return m_sorted[at].digest;
    }
    const auto found = m_added.find(identity);
    if (found == m_added.end())
        return std::nullopt;
    return found->second;
}

void DupesHashCache::insert(const FileIdentity& identity, const ContentDigest& digest)
{
    const std::size_t at = position(identity);
    if (at < m_sorted.size() && m_sorted[at].identity == identity) {
        m_sorted[at].digest = digest;
        m_touched[at] = 1;
    } else {
        m_added[identity] = digest;
    }
    m_changed = true;
}

void DupesHashCache::dropUntouched()
{
    // Hashes inserted were touched by their insert.
    std::size_t kept = 0;
    for (std::size_t i = 0; i < m_sorted.size(); ++i) {
        if (m_touched[i]) {
            if (kept != i) {
                m_sorted[kept] = m_sorted[i];
                m_touched[kept] = 1;
            }
            ++kept;
        }
    }
    m_changed = m_changed || kept != m_sorted.size();
    m_sorted = m_sorted.first(kept);
    m_touched.resize(kept);
    m_cursor = 0;
}

} // namespace Kelvane
