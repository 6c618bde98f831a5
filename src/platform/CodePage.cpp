#include "platform/CodePage.h"

#include "platform/SettingsStore.h"

#include "platform/FileNames.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

QString normalName(QStringView name)
{
    QString folded = name.trimmed().toString().toUpper();
    folded.remove(u'-');
    folded.remove(u'_');
    folded.remove(u' ');
    if (folded.startsWith(u"WINDOWS")) {
        folded = u"CP"_s + folded.mid(7);
    } else if (folded.startsWith(u"ISO")) {
        folded = u"ISO"_s + folded.mid(3);
    } else if (!folded.isEmpty() && folded.front().isDigit()) {
        folded.prepend(u"CP"_s);
    }
    if (folded == u"LATIN1")
        folded = u"ISO88591"_s;
    return folded;
}

} // namespace

CodePage::CodePage(const CodePageTable& table)
    : m_table(&table)
{
    for (int byte = 0; byte < 128; ++byte)
        m_characters[byte] = static_cast<char16_t>(byte);
    for (int byte = 128; byte < 256; ++byte)
        m_characters[byte] = table.high[byte - 128];
    for (int byte = 0; byte < 128; ++byte)
        m_reverse[byte] = { table.high[byte], static_cast<unsigned char>(byte + 128) };
    std::sort(m_reverse.begin(), m_reverse.end());
    for (int byte = 0; byte < 256; ++byte) {
        const QString up = QString(QChar(m_characters[byte])).toUpper();
        const int upByte = up.size() == 1 ? byteOf(up.front().unicode()) : -1;
        m_upper[byte] = static_cast<unsigned char>(upByte >= 0 ? upByte : byte);
    }
}

const CodePage& CodePage::windows1252()
{
    return allPages().front();
}

const CodePage* CodePage::named(QStringView name)
{
    const QString wanted = normalName(name);
    for (const CodePage& page : allPages()) {
        if (normalName(page.name()) == wanted)
            return &page;
    }
    return nullptr;
}

QStringList CodePage::names()
{
    QStringList result;
    for (const CodePage& page : allPages())
        result.append(page.name());
    return result;
}

QString CodePage::name() const
{
    return QLatin1StringView(m_table->name).toString();
}

QString CodePage::toUnicode(std::string_view bytes) const
{
    QString text(static_cast<qsizetype>(bytes.size()), Qt::Uninitialized);
    QChar* out = text.data();
    for (const char byte : bytes)
        *out++ = QChar(m_characters[static_cast<unsigned char>(byte)]);
    return text;
}

int CodePage::byteOf(char16_t ch) const
{
    if (ch < 0x80)
        return ch;
    const auto found = std::lower_bound(m_reverse.begin(), m_reverse.end(), ch,
                                        [](const auto& entry, char16_t wanted) { return entry.first < wanted; });
    if (found == m_reverse.end() || found->first != ch)
        return -1;
    return found->second;
}

std::string CodePage::fromUnicode(QStringView text) const
{
    std::string bytes;
    bytes.resize(static_cast<std::size_t>(text.size()));
    std::size_t at = 0;
    for (const QChar ch : text) {
        const int byte = byteOf(ch.unicode());
        bytes[at++] = static_cast<char>(byte >= 0 ? byte : '?');
    }
    return bytes;
}

bool CodePage::canEncode(QStringView text) const
{
    return std::all_of(text.begin(), text.end(), [this](QChar ch) { return byteOf(ch.unicode()) >= 0; });
}

std::string CodePage::upper(std::string_view bytes) const
{
    std::string result(bytes);
    for (char& byte : result)
        byte = upper(byte);
    return result;
}

std::filesystem::path CodePage::toPath(std::string_view bytes) const
{
    return pathFromUnicode(toUnicode(bytes));
}

std::string CodePage::fromPath(const std::filesystem::path& path) const
{
    return fromUnicode(unicodeFromPath(path));
}

const std::array<CodePage, CodePageTableCount>& CodePage::allPages()
{
    static const auto pages = []<std::size_t... I>(std::index_sequence<I...>)
    {
        return std::array<CodePage, CodePageTableCount> { CodePage(CodePageTables[I])... };
    }
    (std::make_index_sequence<CodePageTableCount>());
    return pages;
}

const CodePage& chosenCodePage(const SettingsStore& settings)
{
    const QString name = settings.GetSetting(u"Kelvane Startup"_s, u"CodePage"_s);
    const CodePage* page = name.isEmpty() ? nullptr : CodePage::named(name);
    return page ? *page : CodePage::windows1252();
}

} // namespace Kelvane
