#pragma once

#include <QString>
#include <QStringList>

#include <array>
#include <filesystem>
#include <string>
#include <string_view>

namespace Kelvane {

class SettingsStore;

struct CodePageTable
{
    const char* name;
    std::array<char16_t, 128> high; // characters of bytes 0x80..0xFF
};

constexpr std::size_t CodePageTableCount = 14;
extern const std::array<CodePageTable, CodePageTableCount> CodePageTables;

/// A single-byte code page as a lossless 256-entry table: every byte maps to one character
/// and back, so text read from disk and written again keeps every byte.
///
/// Text from disk stays bytes inside the core; a page turns it into Unicode only for the
/// screen, for JSON and for file names on disk.
class CodePage
{
public:
    /// Windows-1252, the Western page the board used.
    static const CodePage& windows1252();
    /// The page of that name ("Windows-1252", "CP437", "cp850", "1252", "437"), or nullptr.
    static const CodePage* named(QStringView name);
    /// Every page's name, Windows-1252 first.
    static QStringList names();

    QString name() const;

    QChar character(unsigned char byte) const { return QChar(m_characters[byte]); }
    QString toUnicode(std::string_view bytes) const;
    /// The bytes of text; a character the page cannot hold becomes "?".
    std::string fromUnicode(QStringView text) const;
    bool canEncode(QStringView text) const;
    /// The byte of ch, or -1 when the page has no such character.
    int byteOf(char16_t ch) const;

    /// Upper case within the page: a byte whose upper-case character is not in the page
    /// stays as it is ("ß", and "µ" in Windows-1252), as the system's ANSI upper-casing did.
    std::string upper(std::string_view bytes) const;
    char upper(char byte) const { return static_cast<char>(m_upper[static_cast<unsigned char>(byte)]); }

    /// A file name or path held as bytes of this page, as the file system spells it.
    std::filesystem::path toPath(std::string_view bytes) const;
    /// A path's text in this page ("?" for what the page cannot hold).
    std::string fromPath(const std::filesystem::path& path) const;

private:
    explicit CodePage(const CodePageTable& table);
    static const std::array<CodePage, CodePageTableCount>& allPages();

    const CodePageTable* m_table;
    std::array<char16_t, 256> m_characters {};
    std::array<unsigned char, 256> m_upper {};
    std::array<std::pair<char16_t, unsigned char>, 128> m_reverse {}; // high half, sorted by character
};

/// The code page chosen in Options ("Kelvane Startup", "CodePage"); Windows-1252 when none
/// or an unknown one is set.
const CodePage& chosenCodePage(const SettingsStore& settings);

} // namespace Kelvane
