#include "board/FileLookup.h"

#include "platform/CodePage.h"
#include "platform/FileNames.h"
#include "platform/ShortNames.h"

namespace Kelvane {

namespace fs = std::filesystem;

DirectoryListing::DirectoryListing(const fs::path& directory, const CodePage& page, ListingDetail detail)
    : m_page(&page)
{
    std::vector<ListedFile> listed;
    try {
        listed = listDirectory(directory, ListingOrder::Unsorted, detail);
    } catch (const fs::filesystem_error&) {
        listed.clear(); // a directory that cannot be listed holds no file of the area
    }
    m_names.reserve(listed.size());
    m_texts.reserve(listed.size());
    m_keys.reserve(listed.size());
    m_exact.reserve(static_cast<qsizetype>(listed.size()));
    if (detail == ListingDetail::Identities)
        m_identities.reserve(listed.size());
    for (ListedFile& file : listed) {
        m_exact.insert(file.text, static_cast<qsizetype>(m_names.size()));
        if (detail == ListingDetail::Identities)
            m_identities.push_back(file.identity);
        m_names.push_back(std::move(file.name));
        m_texts.push_back(std::move(file.text));
        m_keys.push_back(std::move(file.key));
    }
}

DirectoryListing::~DirectoryListing() = default;

const QHash<QString, qsizetype>& DirectoryListing::folded() const
{
    if (m_folded)
        return *m_folded;
    m_folded.emplace();
    m_folded->reserve(static_cast<qsizetype>(m_keys.size()));
    for (std::size_t i = 0; i < m_keys.size(); ++i) {
        // Of the names equal ignoring case, the first in sorted order answers.
        const auto at = static_cast<qsizetype>(i);
        const auto held = m_folded->find(m_keys[i]);
        if (held == m_folded->end())
            m_folded->insert(m_keys[i], at);
        else if (m_names[i].native() < m_names[static_cast<std::size_t>(*held)].native())
            *held = at;
    }
    return *m_folded;
}

std::optional<std::size_t> DirectoryListing::indexOf(const QString& name) const
{
    auto found = m_exact.constFind(name);
    if (found == m_exact.cend()) {
        const QHash<QString, qsizetype>& byKey = folded();
        found = byKey.constFind(foldName(name));
        if (found == byKey.cend())
            return std::nullopt;
    }
    return static_cast<std::size_t>(*found);
}

std::optional<fs::path> DirectoryListing::find(const QString& name) const
{
    if (const std::optional<std::size_t> index = indexOf(name))
        return m_names[*index];
    return std::nullopt;
}

const DirectoryAliases& DirectoryListing::aliases() const
{
    if (!m_aliases)
        m_aliases = std::make_unique<DirectoryAliases>(m_texts, *m_page);
    return *m_aliases;
}

QString DirectoryListing::aliasOf(const QString& name) const
{
    const QString alias = aliases().aliasOf(name);
    return alias.isEmpty() ? DirectoryAliases::aliasAmong(m_texts, name, *m_page) : alias;
}

std::optional<QString> DirectoryListing::nameOfAlias(const QString& alias) const
{
    return aliases().nameOf(alias);
}

FileLookup::FileLookup(const CodePage& page, ListingDetail detail)
    : m_page(&page)
    , m_detail(detail)
{
}

FileLookup::~FileLookup() = default;

const DirectoryListing& FileLookup::listing(const fs::path& directory)
{
    std::unique_ptr<DirectoryListing>& listing = m_listings[directory.native()];
    if (!listing)
        listing = std::make_unique<DirectoryListing>(directory, *m_page, m_detail);
    return *listing;
}

void FileLookup::forget(const fs::path& directory)
{
    m_listings.erase(directory.native());
}

std::optional<fs::path> FileLookup::find(const fs::path& directory, std::string_view name)
{
    return findText(directory, m_page->toUnicode(name));
}

std::optional<std::size_t> FileLookup::locate(const DirectoryListing& files, const QString& name) const
{
    if (const std::optional<std::size_t> found = files.indexOf(name))
        return found;
    // A short alias names its long file, as the board's system's short names did.
    if (name.contains(u'~')) {
        if (const std::optional<QString> longName = files.nameOfAlias(name))
            return files.indexOf(*longName);
    }
    return std::nullopt;
}

std::optional<fs::path> FileLookup::findText(const fs::path& directory, const QString& name)
{
    if (directory.empty() || !isPlainName(name))
        return std::nullopt;
    const DirectoryListing& files = listing(directory);
    if (const std::optional<std::size_t> found = locate(files, name))
        return directory / files.namesOnDisk()[*found];
    return std::nullopt;
}

std::optional<FileLookup::Located> FileLookup::locateInSlots(const DirectoryPaths& directories, const QString& name)
{
    if (!isPlainName(name))
        return std::nullopt;
    for (int slot = 0; slot < DirectorySlots; ++slot) {
        const fs::path& directory = directories[static_cast<std::size_t>(slot)];
        if (directory.empty())
            continue;
        const DirectoryListing& files = listing(directory);
        if (const std::optional<std::size_t> found = locate(files, name))
            return Located { slot, &files, *found };
    }
    return std::nullopt;
}

std::optional<std::pair<int, fs::path>> FileLookup::findInSlots(const DirectoryPaths& directories,
                                                                std::string_view name)
{
    if (const std::optional<Located> found = locateInSlots(directories, m_page->toUnicode(name)))
        return std::make_pair(found->slot,
                              directories[static_cast<std::size_t>(found->slot)]
                                  / found->listing->namesOnDisk()[found->index]);
    return std::nullopt;
}

} // namespace Kelvane
