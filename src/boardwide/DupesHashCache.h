#pragma once

#include "platform/FileIdentity.h"

#include <QString>

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Kelvane {

/// A file's SHA-256.
using ContentDigest = std::array<unsigned char, 32>;

/// The SHA-256 of the file at path, read once from start to end (libcrypto's, which uses the
/// processor's SHA instructions where it has them); nothing when the file is gone or cannot
/// be read, with why in reason.
std::optional<ContentDigest> digestOfFile(const std::filesystem::path& path, QString& reason);

/// The hash of each file the duplicate finder has read, keyed by what tells one version of a
/// file from another (size, time of last change, device and inode), so a run over an
/// unchanged board reads no file again.
///
/// On disk: "KVHC", a format number, the count, the records, and a checksum of all that;
/// anything else (a damaged, cut or foreign file) is ignored whole and rebuilt, never half
/// trusted. The file is Kelvane's own and may be deleted at any time.
class DupesHashCache
{
public:
    DupesHashCache() = default;
    DupesHashCache(DupesHashCache&&) = default;
    DupesHashCache& operator=(DupesHashCache&&) = default;
    // The records may be a mapping of the file: one owner.
    DupesHashCache(const DupesHashCache&) = delete;
    DupesHashCache& operator=(const DupesHashCache&) = delete;

    /// The cache's file in the program's directory.
    static std::filesystem::path defaultPath();

    /// Reads path. A missing file is an empty cache; a file that is not a sound cache gives
    /// an empty cache and its one line in problem.
    void load(const std::filesystem::path& path, QString& problem);
    /// Writes the cache whole beside path and renames it into place; false, with why in
    /// problem, when it could not be written (the old file is then left as it was). The
    /// records are the cache's own from then on: a file still mapped cannot be replaced on
    /// every system.
    bool save(const std::filesystem::path& path, QString& problem) const;

    std::optional<ContentDigest> find(const FileIdentity& identity);
    void insert(const FileIdentity& identity, const ContentDigest& digest);
    /// Drops every hash find and insert did not touch since load (a run over the whole
    /// board: files gone or changed leave the cache).
    void dropUntouched();

    std::size_t size() const { return m_sorted.size() + m_added.size(); }
    /// Whether the cache changed since it was loaded.
    bool changed() const { return m_changed; }

    /// The bytes of the cache file, and the cache they hold (nothing for unsound bytes).
    std::string serialize() const;
    static std::optional<DupesHashCache> parse(std::string_view bytes);

private:
    // One hash as the file holds it: 64 bytes, the identity's four numbers and the digest.
    struct Record
    {
        FileIdentity identity;
        ContentDigest digest;
    };
    struct IdentityHash
    {
        std::size_t operator()(const FileIdentity& identity) const;
    };

    /// The records of m_sorted by size, device, inode and time: the order the duplicate
    /// finder asks in, so each look-up starts where the last one ended.
    static bool before(const FileIdentity& a, const FileIdentity& b);
    std::size_t position(const FileIdentity& identity);
    bool adopt(std::vector<Record> records);
    /// Takes records: owned's, or those within the file's bytes that loaded keeps.
    bool adopt(std::vector<Record> owned, std::unique_ptr<char[]> loaded, std::span<Record> records);

    // The hashes loaded, sorted and flat (a million of them load as one block, not a million
    // nodes), each with its touched flag beside it; the few hashes inserted since in m_added.
    // m_sorted spans m_owned, or the records within the cache file's bytes as m_loaded holds
    // them.
    std::span<Record> m_sorted;
    std::vector<Record> m_owned;
    std::unique_ptr<char[]> m_loaded;
    std::vector<char> m_touched;
    std::size_t m_cursor = 0;
    std::unordered_map<FileIdentity, ContentDigest, IdentityHash> m_added;
    bool m_changed = false;
};

} // namespace Kelvane
