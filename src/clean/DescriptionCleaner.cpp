#include "clean/DescriptionCleaner.h"

#include "board/Session.h"
#include "editor/EntryTable.h"
#include "editor/Selection.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"

#include <algorithm>
#include <fstream>
#include <iterator>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

constexpr char Escape = '\x1B';

bool isBlank(char byte)
{
    return byte == ' ' || byte == '\t';
}

bool isBlankLine(std::string_view line)
{
    for (const char byte : line) {
        if (!isBlank(byte))
            return false;
    }
    return true;
}

bool inRange(char byte, int low, int high)
{
    const auto value = static_cast<unsigned char>(byte);
    return value >= low && value <= high;
}

bool isHexDigit(char byte)
{
    return inRange(byte, '0', '9') || inRange(byte, 'A', 'F') || inRange(byte, 'a', 'f');
}

// The length of the escape sequence that starts at line[at] (an ESC): a control sequence
// (ESC [ parameters intermediates final), an operating-system command (ESC ] ... up to BEL
// or ESC \), ESC with intermediates and a final, or ESC and one more character. A sequence
// the line cuts short is taken as far as it goes; an ESC before anything else stands alone.
std::size_t escapeLength(std::string_view line, std::size_t at)
{
    std::size_t end = at + 1;
    if (end >= line.size())
        return 1;
    const char kind = line[end];
    if (kind == '[') {
        ++end;
        while (end < line.size() && inRange(line[end], 0x30, 0x3F))
            ++end;
        while (end < line.size() && inRange(line[end], 0x20, 0x2F))
            ++end;
        if (end < line.size() && inRange(line[end], 0x40, 0x7E))
            ++end;
        return end - at;
    }
    if (kind == ']') {
        // Its text is printable ASCII: a code page's own character ends it, and stays.
        for (++end; end < line.size() && inRange(line[end], 0x20, 0x7E); ++end) { }
        if (end < line.size() && line[end] == '\x07')
            return end + 1 - at;
        if (end + 1 < line.size() && line[end] == Escape && line[end + 1] == '\\')
            return end + 2 - at;
        return end - at;
    }
    if (inRange(kind, 0x20, 0x2F)) {
        while (end < line.size() && inRange(line[end], 0x20, 0x2F))
            ++end;
        if (end < line.size() && inRange(line[end], 0x30, 0x7E))
            ++end;
        return end - at;
    }
    return inRange(kind, 0x30, 0x7E) ? 2 : 1;
}

// The length of the colour code at line[at], 0 when none starts there: "|" and 00..31, or
// "@X" and two hex digits.
std::size_t colourCodeLength(std::string_view line, std::size_t at)
{
    const std::string_view rest = line.substr(at);
    if (rest.size() >= 3 && rest[0] == '|'
        && ((inRange(rest[1], '0', '2') && inRange(rest[2], '0', '9'))
            || (rest[1] == '3' && inRange(rest[2], '0', '1'))))
        return 3;
    if (rest.size() >= 4 && rest[0] == '@' && rest[1] == 'X' && isHexDigit(rest[2]) && isHexDigit(rest[3]))
        return 4;
    return 0;
}

bool isControl(char byte)
{
    return (inRange(byte, 0, 0x1F) && byte != '\r' && byte != '\n') || byte == '\x7F';
}

struct CharacterRules
{
    bool ansi = true;
    bool colours = true;
    bool controls = true;
};

// The line with the character rules applied, in one pass: an escape sequence goes before its
// ESC could be taken as a control byte, so no "[1;32m" is left behind.
std::string applyCharacterRules(std::string_view line, CharacterRules rules)
{
    std::string out;
    out.reserve(line.size());
    for (std::size_t at = 0; at < line.size();) {
        const char byte = line[at];
        if (rules.ansi && byte == Escape) {
            at += escapeLength(line, at);
            continue;
        }
        if (rules.colours) {
            if (const std::size_t length = colourCodeLength(line, at)) {
                at += length;
                continue;
            }
        }
        if (rules.controls && isControl(byte)) {
            if (byte == '\t')
                out.push_back(' ');
            ++at;
            continue;
        }
        out.push_back(byte);
        ++at;
    }
    return out;
}

// A description's lines, each without its CR LF; a last line without one counts too.
std::vector<std::string> splitLines(std::string_view description)
{
    std::vector<std::string> lines;
    while (!description.empty()) {
        const std::size_t end = description.find("\r\n");
        lines.emplace_back(description.substr(0, end));
        description = end == std::string_view::npos ? std::string_view() : description.substr(end + 2);
    }
    return lines;
}

QString lineRuleError(const QString& fileName, int lineNumber, const QString& expression, const QString& why)
{
    return u"%1 line %2: invalid regular expression \"%3\": %4"_s.arg(fileName).arg(lineNumber).arg(expression, why);
}

} // namespace

const std::array<CleanRuleName, 5>& cleanRuleNames()
{
    static const std::array<CleanRuleName, 5> names { {
        { CleanRule::AnsiSequences, "ansi", "ANSI escape sequences" },
        { CleanRule::ColourCodes, "colour-codes", "pipe colour codes (|07) and @X codes (@X1F)" },
        { CleanRule::ControlCharacters, "control", "control characters other than line ends" },
        { CleanRule::BlankLines, "blank-lines", "blank lines at the start and end, runs of blank lines" },
        { CleanRule::LineEndBlanks, "line-end-blanks", "blanks at line ends" },
    } };
    return names;
}

std::optional<CleanRule> cleanRuleNamed(std::string_view name)
{
    for (const CleanRuleName& rule : cleanRuleNames()) {
        if (name == rule.name)
            return rule.rule;
    }
    return std::nullopt;
}

DescriptionCleaner::DescriptionCleaner(const CodePage& page)
    : m_page(page)
{
}

void DescriptionCleaner::setRule(CleanRule rule, bool on)
{
    m_on[static_cast<std::size_t>(rule)] = on;
}

bool DescriptionCleaner::ruleOn(CleanRule rule) const
{
    return m_on[static_cast<std::size_t>(rule)];
}

std::optional<QString> DescriptionCleaner::addLineRules(std::string_view text, const QString& fileName)
{
    std::vector<QRegularExpression> rules;
    int lineNumber = 0;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        ++lineNumber;
        const QString expression = QString::fromUtf8(line).trimmed();
        if (expression.isEmpty() || expression.startsWith(u'#'))
            continue;
        // A bound on the work of one match: an expression that backtracks without end on some
        // line finds nothing there instead of holding the whole run up.
        const QString limit = u"(*LIMIT_MATCH=100000)"_s;
        QRegularExpression rule(limit + expression);
        if (!rule.isValid()) {
            const qsizetype offset = std::max<qsizetype>(0, rule.patternErrorOffset() - limit.size());
            return lineRuleError(fileName, lineNumber, expression,
                                 u"%1 at offset %2"_s.arg(rule.errorString()).arg(offset));
        }
        rule.optimize();
        rules.push_back(std::move(rule));
    }
    m_lineRules.insert(m_lineRules.end(), std::make_move_iterator(rules.begin()), std::make_move_iterator(rules.end()));
    return std::nullopt;
}

std::optional<QString> DescriptionCleaner::addLineRulesFile(const std::filesystem::path& path)
{
    const QString fileName = unicodeFromPath(path);
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        return fileName + u": no such rules file"_s;
    std::ifstream in(path, std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad())
        return fileName + u": the rules file could not be read"_s;
    return addLineRules(text, fileName);
}

bool DescriptionCleaner::removedByLineRule(std::string_view line) const
{
    if (m_lineRules.empty())
        return false;
    const QString shown = m_page.toUnicode(applyCharacterRules(line, {}));
    for (const QRegularExpression& rule : m_lineRules) {
        if (rule.match(shown).hasMatch())
            return true;
    }
    return false;
}

std::string DescriptionCleaner::clean(const std::string& description) const
{
    const std::vector<std::string> before = splitLines(description);
    const CharacterRules characters { ruleOn(CleanRule::AnsiSequences), ruleOn(CleanRule::ColourCodes),
                                      ruleOn(CleanRule::ControlCharacters) };
    const bool anyCharacterRule = characters.ansi || characters.colours || characters.controls;
    std::vector<std::string> after;
    after.reserve(before.size());
    for (const std::string& line : before) {
        if (removedByLineRule(line))
            continue;
        std::string kept = anyCharacterRule ? applyCharacterRules(line, characters) : line;
        if (ruleOn(CleanRule::LineEndBlanks)) {
            std::size_t end = kept.size();
            while (end > 0 && isBlank(kept[end - 1]))
                --end;
            kept.resize(end);
        }
        after.push_back(std::move(kept));
    }
    if (ruleOn(CleanRule::BlankLines)) {
        std::vector<std::string> lines;
        lines.reserve(after.size());
        for (std::string& line : after) {
            const bool blank = isBlankLine(line);
            // A blank line stays only between two lines of text, once.
            if (blank && (lines.empty() || isBlankLine(lines.back())))
                continue;
            lines.push_back(std::move(line));
        }
        while (!lines.empty() && isBlankLine(lines.back()))
            lines.pop_back();
        after = std::move(lines);
    }
    if (after == before)
        return description;
    std::string cleaned;
    for (const std::string& line : after) {
        cleaned += line;
        cleaned += "\r\n";
    }
    return cleaned;
}

std::size_t mnuCleanDescriptions_Click(Session& session, EntryTable& table, const DescriptionCleaner& cleaner)
{
    if (nothingSelected(session, table))
        return 0;
    OperationScope scope(session);
    std::size_t changed = 0;
    try {
        EntryTable::Batch batch(table);
        for (const std::size_t index : table.selectedIndices()) {
            std::string cleaned = cleaner.clean(table.at(index).Description);
            if (cleaned != table.at(index).Description) {
                table.update(index, [&cleaned](Entry& entry) { entry.Description = std::move(cleaned); });
                session.ChangesMade = true;
                ++changed;
            }
            table.setSelected(index, false);
        }
    } catch (...) {
        session.ReportError("mnuCleanDescriptions_Click");
    }
    return changed;
}

} // namespace Kelvane
