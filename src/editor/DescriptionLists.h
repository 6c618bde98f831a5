#pragma once

#include <QHash>
#include <QString>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Kelvane {

class CodePage;

/// The description lists other boards and file managers keep beside their files: FILES.BBS
/// (a name, optionally a size and a date, then the description, continued on lines that
/// start with blanks, "|" or "+") and DESCRIPT.ION (a name or a "quoted long name", a blank,
/// the description on one line). Bytes only, in the board's code page.
namespace DescriptionLists {

inline constexpr std::string_view FilesBbsName = "FILES.BBS";
inline constexpr std::string_view DescriptIonName = "DESCRIPT.ION";
/// No board writes a longer line: one is damage, and is skipped.
inline constexpr std::size_t LongestLine = 1000;

/// One name of a list and its description: every line followed by CR LF, as a FILE_ID.DIZ
/// description is held; blanks at line ends and blank lines before and after the text left
/// out.
struct Listed
{
    std::string name;
    std::string description;

    bool operator==(const Listed&) const = default;
};

/// Every readable name of the text in list order, a name listed twice included. CR LF, a
/// lone CR and a lone LF each end a line; a Ctrl+Z ends the text. A line that names no file
/// (a separator in the name, an unclosed quote, control characters) or is longer than
/// LongestLine is skipped, and with a FILES.BBS name line its continuation lines.
std::vector<Listed> parseFilesBbs(std::string_view text);
std::vector<Listed> parseDescriptIon(std::string_view text);

/// FILES.BBS lines: the name in 12 columns, the size in 9, the date, the first line of the
/// description (on a continuation line when it starts with blanks); its other lines on
/// continuation lines ("|" after 13 blanks). Lines end CR LF.
struct FilesBbsLine
{
    std::string name;
    long long size = 0;
    std::string date;
    std::string description;
};
std::string formatFilesBbs(const std::vector<FilesBbsLine>& lines);
/// DESCRIPT.ION lines: a name holding a blank is quoted; a description of several lines is
/// written on one, its lines joined by the two characters "\n" and followed by Ctrl+D and
/// 0xC2, the marker of a multi-line description that file managers read. Lines end CR LF.
std::string formatDescriptIon(const std::vector<Listed>& listed);

} // namespace DescriptionLists

/// Where a new file without a FILE_ID.DIZ takes its description from. Auto reads both lists
/// a directory has; a name FILES.BBS holds wins over DESCRIPT.ION.
enum class DescriptionsFrom { None, Auto, FilesBbs, DescriptIon };

/// The descriptions one directory's lists give, by name ignoring case; the first listing of
/// a name wins, as it is the one a board shows. A list that cannot be read gives none.
class DirectoryDescriptions
{
public:
    DirectoryDescriptions(const std::filesystem::path& directory, DescriptionsFrom from, const CodePage& page);

    /// The description listed for name, ignoring case; nothing when the name is not listed
    /// or its listing has no description text.
    std::optional<std::string> find(const QString& name) const;
    bool empty() const { return m_descriptions.isEmpty(); }

private:
    void read(const std::filesystem::path& directory, std::string_view listName, bool filesBbs);

    const CodePage& m_page;
    QHash<QString, std::string> m_descriptions;
};

} // namespace Kelvane
