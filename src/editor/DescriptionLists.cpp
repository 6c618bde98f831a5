#include "editor/DescriptionLists.h"

#include "platform/CodePage.h"
#include "platform/FileNames.h"

#include <algorithm>
#include <fstream>

namespace Kelvane {

namespace fs = std::filesystem;

namespace DescriptionLists {

namespace {

// A list bigger than this is not a description list; only its start is read.
constexpr std::size_t LargestList = 64 * 1024 * 1024;

bool isBlank(char ch)
{
    return ch == ' ' || ch == '\t';
}

std::string_view rtrimBlanks(std::string_view text)
{
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::string_view ltrimBlanks(std::string_view text)
{
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    return text;
}

// A Ctrl+Z ends a DOS text.
std::string_view beforeEnd(std::string_view text)
{
    return text.substr(0, text.find('\x1A'));
}

// Lists come from DOS, Windows and Unix tools alike: every kind of line end ends a line.
template<typename Visit>
void forEachListLine(std::string_view text, Visit visit)
{
    while (!text.empty()) {
        const std::size_t end = text.find_first_of("\r\n");
        if (end == std::string_view::npos) {
            visit(text);
            return;
        }
        visit(text.substr(0, end));
        const std::size_t next = text.compare(end, 2, "\r\n") == 0 ? end + 2 : end + 1;
        text.remove_prefix(next);
    }
}

// A name a file can have in a directory of the board.
bool isFileName(std::string_view name)
{
    if (name.empty() || name == "." || name == "..")
        return false;
    for (const char ch : name) {
        if (static_cast<unsigned char>(ch) < 0x20 || std::string_view("/\\:*?\"<>|").find(ch) != std::string_view::npos)
            return false;
    }
    return true;
}

bool isDigits(std::string_view token)
{
    return !token.empty() && token.find_first_not_of("0123456789") == std::string_view::npos;
}

// MM-DD-YY, MM/DD/YYYY and the like: digits in three groups joined by "-", "/" or ".".
bool isDate(std::string_view token)
{
    int groups = 0;
    std::size_t digits = 0;
    for (const char ch : token) {
        if (ch >= '0' && ch <= '9') {
            if (++digits > 4)
                return false;
        } else if ((ch == '-' || ch == '/' || ch == '.') && digits > 0 && groups < 2) {
            ++groups;
            digits = 0;
        } else {
            return false;
        }
    }
    return groups == 2 && digits >= 2;
}

// Takes the next blank-separated token off text.
std::string_view takeToken(std::string_view& text)
{
    text = ltrimBlanks(text);
    std::size_t end = 0;
    while (end < text.size() && !isBlank(text[end]))
        ++end;
    const std::string_view token = text.substr(0, end);
    text.remove_prefix(end);
    return token;
}

// Blank lines before the first text say nothing either.
void appendLine(std::string& description, std::string_view line)
{
    line = rtrimBlanks(line);
    if (description.empty() && line.empty())
        return;
    description.append(line);
    description.append("\r\n");
}

// Blank lines at the end of a description say nothing.
void dropTrailingBlankLines(std::string& description)
{
    while (description.ends_with("\r\n\r\n") || description == "\r\n")
        description.resize(description.size() - 2);
}

} // namespace

std::vector<Listed> parseFilesBbs(std::string_view text)
{
    std::vector<Listed> listed;
    bool inEntry = false;
    const auto close = [&] {
        if (inEntry)
            dropTrailingBlankLines(listed.back().description);
        inEntry = false;
    };
    forEachListLine(beforeEnd(text), [&](std::string_view line) {
        const bool continuation = !line.empty() && (isBlank(line.front()) || line.front() == '|' || line.front() == '+');
        if (line.size() > LongestLine) {
            if (!continuation)
                close();
            return;
        }
        if (continuation) {
            std::string_view rest = ltrimBlanks(line);
            if (rest.empty() && line.front() != '|' && line.front() != '+') {
                close(); // a blank line ends the entry: what follows is the list's own text
                return;
            }
            if (!inEntry)
                return;
            if (!rest.empty() && (rest.front() == '|' || rest.front() == '+')) {
                rest.remove_prefix(1);
                if (!rest.empty() && rest.front() == ' ')
                    rest.remove_prefix(1);
            }
            appendLine(listed.back().description, rest);
            return;
        }
        close();
        std::string_view rest = line;
        const std::string_view name = takeToken(rest);
        if (!isFileName(name))
            return;
        std::string_view after = rest;
        if (isDigits(takeToken(after)))
            rest = after;
        after = rest;
        if (isDate(takeToken(after)))
            rest = after;
        listed.push_back({ std::string(name), {} });
        inEntry = true;
        appendLine(listed.back().description, ltrimBlanks(rest));
    });
    close();
    return listed;
}

std::vector<Listed> parseDescriptIon(std::string_view text)
{
    std::vector<Listed> listed;
    forEachListLine(beforeEnd(text), [&](std::string_view line) {
        if (line.size() > LongestLine)
            return;
        std::string_view name;
        std::string_view rest;
        if (!line.empty() && line.front() == '"') {
            const std::size_t quote = line.find('"', 1);
            if (quote == std::string_view::npos)
                return;
            name = line.substr(1, quote - 1);
            rest = line.substr(quote + 1);
        } else {
            rest = line;
            name = takeToken(rest);
        }
        if (!isFileName(name) || (!rest.empty() && !isBlank(rest.front())))
            return;
        rest = ltrimBlanks(rest);
        // Ctrl+D ends what other programs read; Ctrl+D then 0xC2 marks a description whose
        // lines are joined by the two characters "\n".
        bool multiLine = false;
        if (const std::size_t marker = rest.find('\x04'); marker != std::string_view::npos) {
            multiLine = rest.substr(marker + 1, 1) == "\xC2";
            rest = rest.substr(0, marker);
        }
        std::string description;
        while (multiLine) {
            const std::size_t joint = rest.find("\\n");
            if (joint == std::string_view::npos)
                break;
            appendLine(description, rest.substr(0, joint));
            rest.remove_prefix(joint + 2);
        }
        appendLine(description, rest);
        dropTrailingBlankLines(description);
        listed.push_back({ std::string(name), std::move(description) });
    });
    return listed;
}

namespace {

std::vector<std::string_view> linesOf(std::string_view description)
{
    std::vector<std::string_view> lines;
    forEachListLine(description, [&](std::string_view line) { lines.push_back(line); });
    return lines;
}

} // namespace

std::string formatFilesBbs(const std::vector<FilesBbsLine>& lines)
{
    std::string out;
    for (const FilesBbsLine& line : lines) {
        std::string size = std::to_string(line.size);
        std::string head = line.name;
        head.resize(std::max<std::size_t>(head.size(), 12), ' ');
        head += std::string(size.size() < 9 ? 9 - size.size() : 0, ' ') + size + ' ' + line.date;
        const std::vector<std::string_view> text = linesOf(line.description);
        out += head;
        // Blanks after the date are read as the gap before the description: a first line
        // that starts with blanks keeps them on a continuation line.
        const bool indented = !text.empty() && !text.front().empty() && isBlank(text.front().front());
        if (text.empty() || indented)
            out += "\r\n";
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (i > 0 || indented)
                out += std::string(13, ' ') + '|';
            if (!text[i].empty())
                out += ' ';
            out += text[i];
            out += "\r\n";
        }
    }
    return out;
}

std::string formatDescriptIon(const std::vector<Listed>& listed)
{
    std::string out;
    for (const Listed& item : listed) {
        const bool quoted = item.name.find_first_of(" \t") != std::string::npos;
        out += quoted ? '"' + item.name + '"' : item.name;
        const std::vector<std::string_view> text = linesOf(item.description);
        // Blanks after the name are the gap before the description: a first line that
        // starts with blanks keeps them after an empty first line of a multi-line one.
        const bool indented = !text.empty() && !text.front().empty() && isBlank(text.front().front());
        if (!text.empty())
            out += indented ? " \\n" : " ";
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (i > 0)
                out += "\\n";
            out += text[i];
        }
        if (text.size() > 1 || indented)
            out += "\x04\xC2";
        out += "\r\n";
    }
    return out;
}

} // namespace DescriptionLists

DirectoryDescriptions::DirectoryDescriptions(const fs::path& directory, DescriptionsFrom from, const CodePage& page)
    : m_page(page)
{
    // FILES.BBS first: its names win over the same names in DESCRIPT.ION.
    if (from == DescriptionsFrom::FilesBbs || from == DescriptionsFrom::Auto)
        read(directory, DescriptionLists::FilesBbsName, true);
    if (from == DescriptionsFrom::DescriptIon || from == DescriptionsFrom::Auto)
        read(directory, DescriptionLists::DescriptIonName, false);
}

void DirectoryDescriptions::read(const fs::path& directory, std::string_view listName, bool filesBbs)
{
    const std::optional<fs::path> file
        = findEntry(directory, QString::fromLatin1(listName.data(), static_cast<qsizetype>(listName.size())), EntryKind::File);
    if (!file)
        return;
    std::error_code error;
    const std::uintmax_t size = fs::file_size(*file, error);
    if (error)
        return; // a list that cannot be read gives no descriptions
    std::string text(static_cast<std::size_t>(std::min<std::uintmax_t>(size, DescriptionLists::LargestList)), '\0');
    {
        std::ifstream in(*file, std::ios::binary);
        in.read(text.data(), static_cast<std::streamsize>(text.size()));
        text.resize(in.bad() ? 0 : static_cast<std::size_t>(in.gcount()));
    }
    const std::vector<DescriptionLists::Listed> listed
        = filesBbs ? DescriptionLists::parseFilesBbs(text) : DescriptionLists::parseDescriptIon(text);
    for (const DescriptionLists::Listed& item : listed) {
        const QString key = foldName(m_page.toUnicode(item.name));
        if (!m_descriptions.contains(key))
            m_descriptions.insert(key, item.description);
    }
}

std::optional<std::string> DirectoryDescriptions::find(const QString& name) const
{
    const auto found = m_descriptions.constFind(foldName(name));
    if (found == m_descriptions.cend() || found->empty())
        return std::nullopt;
    return *found;
}

} // namespace Kelvane
