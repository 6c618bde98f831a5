#pragma once

// Description clean-up: the colour codes, stray control bytes, blank lines and board adverts
// that other boards leave in the FILE_ID.DIZ files they pass on.
//
// Descriptions stay bytes in the board's code page. The built-in rules only ever take out
// ASCII bytes (escape sequences, pipe and @X codes, control bytes, blanks and blank lines),
// so a code page's own characters (box drawing, accented letters) pass through as they were,
// and a description no rule changes is handed back byte for byte.

#include <QRegularExpression>
#include <QString>

#include <array>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Kelvane {

class CodePage;
class EntryTable;
class Session;

/// The built-in rules, each on unless left out.
enum class CleanRule {
    AnsiSequences, // ESC [ ... m and the other escape sequences of ANSI art
    ColourCodes, // pipe codes |00..|31 and PCBoard's @X followed by two hex digits
    ControlCharacters, // bytes below 32 and 127 other than CR and LF; a tab becomes a blank
    BlankLines, // blank lines at the start and the end go, a run inside becomes one
    LineEndBlanks, // blanks at the end of each line
};

struct CleanRuleName
{
    CleanRule rule;
    const char* name; // as --keep takes it
    const char* what;
};

/// Every built-in rule with its name, in the order they apply.
const std::array<CleanRuleName, 5>& cleanRuleNames();
/// The rule of that name, or nothing.
std::optional<CleanRule> cleanRuleNamed(std::string_view name);

/// The rules to apply: the built-in ones that are on, and the expressions of a rules file.
///
/// A rules file is UTF-8 text, one regular expression a line; a line whose first non-blank
/// character is "#" is a comment, blank lines are ignored, and blanks around an expression
/// are not part of it. A description line is removed whole when any expression is found in
/// it. The expressions see the line as a caller sees it: decoded through the board's code
/// page to Unicode, with its escape sequences, colour codes and control bytes taken out
/// (whether or not those rules are on), so "Uploaded to .* BBS" finds the advert however
/// it is coloured.
class DescriptionCleaner
{
public:
    explicit DescriptionCleaner(const CodePage& page);

    void setRule(CleanRule rule, bool on);
    bool ruleOn(CleanRule rule) const;

    /// Takes the expressions of a rules file's text; fileName names the file in the error.
    /// An invalid expression takes none of them and gives the one line that says where:
    /// "FILE line N: invalid regular expression "EXPR": WHY".
    std::optional<QString> addLineRules(std::string_view text, const QString& fileName);
    /// The same from the file at path; one that cannot be read gives its line too.
    std::optional<QString> addLineRulesFile(const std::filesystem::path& path);
    std::size_t lineRuleCount() const { return m_lineRules.size(); }

    /// The description cleaned: its lines (each ended by CR LF) with the rules applied.
    /// When no rule changes anything the description comes back exactly as it was.
    std::string clean(const std::string& description) const;

private:
    bool removedByLineRule(std::string_view line) const;

    const CodePage& m_page;
    std::array<bool, 5> m_on { true, true, true, true, true };
    std::vector<QRegularExpression> m_lineRules;
};

/// Tools > Clean Descriptions: cleans the selected entries' descriptions in list order and
/// deselects each; ChangesMade is set only when a description changed. Nothing selected
/// shows NoSelectedFiles. Answers how many descriptions changed.
std::size_t mnuCleanDescriptions_Click(Session& session, EntryTable& table, const DescriptionCleaner& cleaner);

/// The settings key ("Kelvane Startup") naming the rules file the desktop program and
/// "kelvane clean" without --rules use.
inline constexpr const char16_t* CleanRulesSetting = u"Clean Rules File";

} // namespace Kelvane
