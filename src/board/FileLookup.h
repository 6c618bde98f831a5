#pragma once

#include "board/CurrentArea.h"
#include "platform/FileNames.h"

#include <QHash>
#include <QString>

#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Kelvane {

class CodePage;
class DirectoryAliases;

/// One directory's files as the board sees them (see listDirectoryFiles), with a
/// case-insensitive index and, computed on first use, their short aliases.
class DirectoryListing
{
public:
    DirectoryListing(const std::filesystem::path& directory,
                     const CodePage& page,
                     ListingDetail detail = ListingDetail::Names);
    ~DirectoryListing();

    /// The file's name on disk: the exact spelling wins, then the first in sorted order of
    /// those equal ignoring case.
    std::optional<std::filesystem::path> find(const QString& name) const;
    /// The same file as its place in the listing.
    std::optional<std::size_t> indexOf(const QString& name) const;
    const std::vector<QString>& names() const { return m_texts; }
    const std::vector<std::filesystem::path>& namesOnDisk() const { return m_names; }
    /// The names' case-insensitive keys (foldName), in the order of names().
    const std::vector<QString>& keys() const { return m_keys; }
    /// Each file's identity, taken in the listing's own pass; empty unless asked for.
    const std::vector<FileIdentity>& identities() const { return m_identities; }
    /// The alias of a listed file, or the alias it would get when added.
    QString aliasOf(const QString& name) const;
    /// The listed name whose alias is alias.
    std::optional<QString> nameOfAlias(const QString& alias) const;

private:
    const DirectoryAliases& aliases() const;
    const QHash<QString, qsizetype>& folded() const;

    const CodePage* m_page;
    std::vector<std::filesystem::path> m_names;
    std::vector<QString> m_texts;
    std::vector<QString> m_keys;
    std::vector<FileIdentity> m_identities;
    QHash<QString, qsizetype> m_exact;
    // Built when a name is first not found as spelled: names are nearly always listed as
    // they are spelled on disk.
    mutable std::optional<QHash<QString, qsizetype>> m_folded;
    mutable std::unique_ptr<DirectoryAliases> m_aliases;
};

/// "Is there a file of this name in directory D?" for one operation: names are matched
/// whatever their case and worked on as spelled on disk, each directory is listed once, and
/// a name holding a separator, "." or ".." names no file.
class FileLookup
{
public:
    /// With identities, every directory's files are stat'ed as it is listed (see listDirectory).
    explicit FileLookup(const CodePage& page, ListingDetail detail = ListingDetail::Names);
    ~FileLookup();

    /// The file named by the Files List name (bytes in the code page) in directory.
    std::optional<std::filesystem::path> find(const std::filesystem::path& directory, std::string_view name);
    std::optional<std::filesystem::path> findText(const std::filesystem::path& directory, const QString& name);
    /// The first non-empty slot, in slot order, that holds the file: its slot and path.
    std::optional<std::pair<int, std::filesystem::path>> findInSlots(const DirectoryPaths& directories,
                                                                     std::string_view name);
    /// Where findInSlots finds the file of name (already as text): its listing and its place there.
    struct Located
    {
        int slot;
        const DirectoryListing* listing;
        std::size_t index;
    };
    std::optional<Located> locateInSlots(const DirectoryPaths& directories, const QString& name);

    const DirectoryListing& listing(const std::filesystem::path& directory);
    /// Lists directory again on its next use (after this operation changed it).
    void forget(const std::filesystem::path& directory);
    const CodePage& codePage() const { return *m_page; }

private:
    std::optional<std::size_t> locate(const DirectoryListing& files, const QString& name) const;

    const CodePage* m_page;
    ListingDetail m_detail;
    // Keyed by the path's text: comparing paths component by component would cost more than
    // the look-up it serves, once per entry.
    std::unordered_map<std::filesystem::path::string_type, std::unique_ptr<DirectoryListing>> m_listings;
};

} // namespace Kelvane
