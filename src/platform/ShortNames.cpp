#include "platform/ShortNames.h"

#include "platform/FileNames.h"

#include <QSet>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string_view>

using namespace Qt::StringLiterals;

// How a long name becomes its alias, in the order the steps run:
//
// - The extension is the text after the last dot, unless that dot ends the name or only dots
//   and spaces stand before it (".bashrc", "..x"): then the whole name is the base, as vfat and
//   Windows 95 treat it.
// - Spaces are dropped everywhere, and dots in the base.
// - "[ ] ; , + =", characters outside the code page and characters an 8.3 name cannot hold
//   (controls and the " * / : < > ? \ | a Linux name may carry) become "_".
// - The rest is upper-cased within the page; a base left empty becomes "_".
// - When nothing but case changed and the result fits 8.3, that is the alias ("readme.txt" ->
//   "README.TXT"). Otherwise the base is cut to 6 and the extension to 3 and "~1" .. "~4" is
//   appended; then the first two base characters, four hex digits of a checksum of the long
//   name and "~1" .. "~9"; then "~10", "~11", ... with the hashed base cut to keep 8 characters.
//
// Tails go to the names in sorted order, after the names that already are valid upper-case 8.3
// names have claimed themselves. Each alias is the first candidate that is neither an alias
// already given nor, ignoring case, another file's name, which makes every alias unique in its
// directory and nameOf the exact inverse of aliasOf.

namespace Kelvane {

namespace {

constexpr std::u16string_view AsciiShortNameCharacters = u"ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789!#$%&'()-@^_`{}~";

/// Whether the page's byte may stand in an 8.3 name. Above 0x7F Windows takes any byte that is
/// its own upper case, so an accented capital or a box-drawing character is as good as "A".
bool isShortNameByte(const CodePage& page, int byte)
{
    if (byte < 0)
        return false;
    if (byte < 0x80)
        return AsciiShortNameCharacters.find(static_cast<char16_t>(byte)) != std::u16string_view::npos;
    return static_cast<unsigned char>(page.upper(static_cast<char>(byte))) == byte;
}

/// What each character of a long name becomes in its alias, for one code page.
class AliasAlphabet
{
public:
    explicit AliasAlphabet(const CodePage& page)
        : m_page(page)
    {
        for (int byte = 0; byte < 256; ++byte) {
            const auto upper = static_cast<unsigned char>(page.upper(static_cast<char>(byte)));
            if (isShortNameByte(page, upper))
                m_upper[byte] = page.character(upper).unicode();
        }
    }

    /// part in alias characters: spaces and dots dropped, what an 8.3 name cannot hold as "_",
    /// the rest in upper case. lossy is set unless only case changed. A character outside the
    /// BMP counts once, as the system sees one character there and not two.
    QString map(QStringView part, bool& lossy) const
    {
        QString result;
        result.reserve(part.size());
        for (qsizetype i = 0; i < part.size(); ++i) {
            const char16_t unit = part[i].unicode();
            if (unit == u' ' || unit == u'.') {
                lossy = true;
                continue;
            }
            const int byte = unit < 0x80 ? unit : m_page.byteOf(unit);
            if (byte >= 0 && m_upper[byte] != u'\0') {
                result.append(QChar(m_upper[byte]));
                continue;
            }
            if (QChar::isHighSurrogate(unit) && i + 1 < part.size() && part[i + 1].isLowSurrogate())
                ++i;
            lossy = true;
            result.append(u'_');
        }
        return result;
    }

private:
    const CodePage& m_page;
    std::array<char16_t, 256> m_upper {}; // the short-name character of each byte; 0 when it has none
};

/// A long name taken apart for its alias.
struct AliasParts
{
    QString base;
    QString extension; // not yet cut to 3
    bool lossy = false; // something besides case changed: the alias needs a tail
};

AliasParts aliasParts(QStringView name, const AliasAlphabet& alphabet)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    const bool hasExtension = dot >= 0 && dot + 1 < name.size()
        && std::any_of(name.begin(), name.begin() + dot, [](QChar ch) { return ch != u'.' && ch != u' '; });
    AliasParts parts;
    parts.base = alphabet.map(hasExtension ? name.first(dot) : name, parts.lossy);
    if (hasExtension)
        parts.extension = alphabet.map(name.sliced(dot + 1), parts.lossy);
    if (parts.base.isEmpty()) {
        parts.base = u"_"_s;
        parts.lossy = true;
    }
    return parts;
}

constexpr std::array<quint32, 256> Crc32Table = [] {
    std::array<quint32, 256> table {};
    for (quint32 n = 0; n < 256; ++n) {
        quint32 c = n;
        for (int bit = 0; bit < 8; ++bit)
            c = (c & 1) != 0 ? 0xEDB88320u ^ (c >> 1) : c >> 1;
        table[n] = c;
    }
    return table;
}();

/// The CRC-32 of zlib and PNG (reflected polynomial 0xEDB88320). qChecksum is a CRC-16 and
/// would give other digits than the aliases already written into Files Lists.
quint32 crc32(const QByteArray& bytes)
{
    quint32 crc = 0xFFFFFFFFu;
    for (const char byte : bytes)
        crc = Crc32Table[(crc ^ static_cast<unsigned char>(byte)) & 0xFF] ^ (crc >> 8);
    return crc ^ 0xFFFFFFFFu;
}

/// The hashed base of an alias: the first two base characters and four hex digits of the
/// long name's checksum.
QString hashedStem(QStringView base, const QString& name)
{
    const quint32 sum = crc32(name.toUtf8()) & 0xFFFF;
    QString stem = base.left(2).toString();
    for (int shift = 12; shift >= 0; shift -= 4)
        stem.append(QChar(u"0123456789ABCDEF"[(sum >> shift) & 0xF]));
    return stem;
}

/// Whether UTF-16 order and code-point order may disagree on text: only where a surrogate meets
/// a unit of U+E000 .. U+FFFF.
bool hasHighUnits(QStringView text)
{
    return std::any_of(text.begin(), text.end(), [](QChar ch) { return ch.unicode() >= 0xD800; });
}

/// Orders UTF-16 text by code point, so that a character outside the BMP sorts after U+FFFF
/// as it did in the Python build, whose order decided the tails of aliases on record.
int compareCodePoints(QStringView a, QStringView b)
{
    const qsizetype common = std::min(a.size(), b.size());
    const auto [atA, atB] = std::mismatch(a.utf16(), a.utf16() + common, b.utf16());
    if (atA == a.utf16() + common)
        return a.size() < b.size() ? -1 : a.size() > b.size() ? 1 : 0;
    const auto key = [](char16_t unit) -> char32_t {
        return unit < 0xD800 ? unit : unit < 0xE000 ? unit + 0x2000 : unit - 0x800;
    };
    return key(*atA) < key(*atB) ? -1 : 1;
}

struct Listed
{
    QString fold;
    QString name;
    bool highUnits; // the fast UTF-16 comparison would not do
};

/// names without repeats, sorted ignoring case and then by name: the order tails are given in.
std::vector<Listed> sortedListing(const std::vector<QString>& names)
{
    std::vector<Listed> listed;
    listed.reserve(names.size());
    for (const QString& name : names) {
        QString fold = foldName(name);
        const bool highUnits = hasHighUnits(fold) || hasHighUnits(name);
        listed.push_back({ std::move(fold), name, highUnits });
    }
    std::sort(listed.begin(), listed.end(), [](const Listed& a, const Listed& b) {
        const auto compare = a.highUnits && b.highUnits ? compareCodePoints
                                                        : [](QStringView x, QStringView y) { return x.compare(y); };
        const int byFold = compare(a.fold, b.fold);
        return byFold != 0 ? byFold < 0 : compare(a.name, b.name) < 0;
    });
    const auto sameName = [](const Listed& a, const Listed& b) { return a.name == b.name; };
    listed.erase(std::unique(listed.begin(), listed.end(), sameName), listed.end());
    return listed;
}

} // namespace

bool isValidShortName(QStringView name, const CodePage& page)
{
    const qsizetype dot = name.indexOf(u'.');
    const QStringView base = dot < 0 ? name : name.first(dot);
    const QStringView extension = dot < 0 ? QStringView() : name.sliced(dot + 1);
    if (base.isEmpty() || base.size() > 8 || (dot >= 0 && (extension.isEmpty() || extension.size() > 3)))
        return false;
    const auto valid = [&page](QChar ch) { return isShortNameByte(page, page.byteOf(ch.unicode())); };
    return std::all_of(base.begin(), base.end(), valid) && std::all_of(extension.begin(), extension.end(), valid);
}

DirectoryAliases::DirectoryAliases(const std::vector<QString>& names, const CodePage& page)
{
    const std::vector<Listed> listed = sortedListing(names);
    const auto count = static_cast<qsizetype>(listed.size());
    m_aliasByName.reserve(count);
    m_nameByFoldedName.reserve(count);
    m_nameByFoldedAlias.reserve(count);
    const auto give = [this](const QString& name, const QString& alias, const QString& foldedAlias) {
        m_aliasByName.insert(name, alias);
        m_nameByFoldedAlias.insert(foldedAlias, name);
    };

    QSet<QString> sharedFolds; // held by two names or more ("readme.txt" and "README.TXT")
    std::vector<AliasParts> parts;
    parts.reserve(listed.size());
    const AliasAlphabet alphabet(page);
    for (const Listed& entry : listed) {
        if (m_nameByFoldedName.contains(entry.fold))
            sharedFolds.insert(entry.fold);
        else
            m_nameByFoldedName.insert(entry.fold, entry.name);
        parts.push_back(aliasParts(entry.name, alphabet));
        // Of two valid names equal ignoring case ("SSA" and "ßA"), only the first keeps itself.
        if (!parts.back().lossy && !m_nameByFoldedAlias.contains(entry.fold) && isValidShortName(entry.name, page))
            give(entry.name, entry.name, entry.fold);
    }

    enum class Offer { Given, AliasTaken, NameTaken };
    QString candidate; // reused: in a crowded directory most candidates are taken
    QSet<QString> fullHeads; // base and extension whose "~1" .. "~4" are all aliases already
    QHash<QString, int> nextOverflowTail; // by hashed base and extension
    for (std::size_t i = 0; i < listed.size(); ++i) {
        const Listed& entry = listed[i];
        if (m_aliasByName.contains(entry.name))
            continue;
        const QString& base = parts[i].base;
        const QStringView extension = QStringView(parts[i].extension).left(3);
        const auto offer = [&](QStringView head, QStringView tail) {
            candidate.truncate(0);
            candidate.append(head).append(tail);
            if (!extension.isEmpty())
                candidate.append(u'.').append(extension);
            const QString folded = foldName(candidate);
            if (m_nameByFoldedAlias.contains(folded))
                return Offer::AliasTaken;
            if (folded == entry.fold ? sharedFolds.contains(folded) : m_nameByFoldedName.contains(folded))
                return Offer::NameTaken;
            give(entry.name, candidate, folded);
            return Offer::Given;
        };
        const auto offerTail = [&](QStringView head, int number) {
            const std::array<char16_t, 2> tail { u'~', static_cast<char16_t>(u'0' + number) };
            return offer(head, QStringView(tail.data(), 2));
        };

        if (!parts[i].lossy && base.size() <= 8 && parts[i].extension.size() <= 3 && offer(base, {}) == Offer::Given)
            continue;
        const QStringView head = QStringView(base).left(6);
        Offer offered = offerTail(head, 1);
        if (offered == Offer::Given)
            continue;
        // A full head stays full, since an alias once given is never taken back; remembering it
        // spares the later names of a crowded directory three candidates each.
        const QString headKey = head.toString() + u'.' + extension.toString();
        if (!fullHeads.contains(headKey)) {
            bool full = offered == Offer::AliasTaken;
            for (int number = 2; offered != Offer::Given && number <= 4; ++number) {
                offered = offerTail(head, number);
                full = full && offered == Offer::AliasTaken;
            }
            if (offered == Offer::Given)
                continue;
            if (full)
                fullHeads.insert(headKey);
        }
        const QString stem = hashedStem(base, entry.name);
        for (int number = 1; offered != Offer::Given && number <= 9; ++number)
            offered = offerTail(stem, number);
        if (offered == Offer::Given)
            continue;
        // Only thousands of names sharing a checksum get here. Each stem remembers where it
        // stopped, so that the listing stays O(n log n).
        const QString overflowKey = stem + u'.' + extension.toString();
        int number = nextOverflowTail.value(overflowKey, 10);
        while (offered != Offer::Given) {
            const QString tail = u'~' + QString::number(number++);
            if (tail.size() > 8)
                throw std::runtime_error("No free short name in a directory of ten million names");
            offered = offer(QStringView(stem).left(8 - tail.size()), tail);
        }
        nextOverflowTail.insert(overflowKey, number);
    }
}

QString DirectoryAliases::aliasOf(const QString& name) const
{
    if (const auto found = m_aliasByName.constFind(name); found != m_aliasByName.cend())
        return found.value();
    const auto listed = m_nameByFoldedName.constFind(foldName(name));
    return listed == m_nameByFoldedName.cend() ? QString() : m_aliasByName.value(listed.value());
}

std::optional<QString> DirectoryAliases::nameOf(const QString& alias) const
{
    const auto found = m_nameByFoldedAlias.constFind(foldName(alias));
    if (found == m_nameByFoldedAlias.cend())
        return std::nullopt;
    return found.value();
}

QString DirectoryAliases::aliasAmong(const std::vector<QString>& names, const QString& name, const CodePage& page)
{
    std::vector<QString> withName = names;
    withName.push_back(name);
    return DirectoryAliases(withName, page).m_aliasByName.value(name);
}

} // namespace Kelvane
