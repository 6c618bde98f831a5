#include "clean/DescriptionCleaner.h"

#include "platform/CodePage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace Kelvane::Testing {
namespace {

using ::testing::StartsWith;

const CodePage& cp437()
{
    return *CodePage::named(u"CP437");
}

// The built-in rules work on the bytes they know and leave every other byte as it was, in
// either code page.
TEST(DescriptionCleanerTest, BuiltInRulesTakeOutOnlyWhatTheyName)
{
    struct Case
    {
        std::vector<CleanRule> kept;
        std::string description;
        std::string cleaned;
    };
    const std::vector<Case> cases = {
        { {}, "|15Cool |07Game |31x\r\n", "Cool Game x\r\n" },
        { {}, "\x1B[1;33mBright\x1B[0m \x1B]0;title\x07text\x1B(B!\r\n", "Bright text!\r\n" },
        { {}, "@X1FBlue@X07 text@x1F\r\n", "Blue text@x1F\r\n" },
        { {}, "Tab\there\x07\x7F\x01!\r\n", "Tab here!\r\n" },
        { {}, "Cut short \x1B[1;3", "Cut short\r\n" },
        { {}, "\x1B\xC9\xCD\xBB box \x1B]2;caf\xE9\x07\r\n", "\xC9\xCD\xBB box \xE9\r\n" },
        { {}, "\r\n  \r\nA\r\n\r\n\t\r\nB  \r\n\r\n \r\n", "A\r\n\r\nB\r\n" },
        { {}, "|07A\nB\r\n", "A\nB\r\n" },
        // Nothing a rule names: byte for byte, the missing last line end included.
        { {},
          "\xC9\xCD\xBB caf\xE9 |99 |3 @XZZ a|b\r\nno line end",
          "\xC9\xCD\xBB caf\xE9 |99 |3 @XZZ a|b\r\nno line end" },
        { {}, "", "" },
        { { CleanRule::ColourCodes }, "|15Cool\x1B[0m @X1F\r\n", "|15Cool @X1F\r\n" },
        { { CleanRule::AnsiSequences }, "\x1B[0mA|07\r\n", "[0mA\r\n" },
        { { CleanRule::AnsiSequences, CleanRule::ControlCharacters }, "\x1B[0mA|07\r\n", "\x1B[0mA\r\n" },
        { { CleanRule::ControlCharacters }, "A\tB\x01|07\r\n", "A\tB\x01\r\n" },
        { { CleanRule::LineEndBlanks }, "A  \r\n|07B \r\n", "A  \r\nB \r\n" },
        { { CleanRule::BlankLines }, "\r\nA\r\n\r\n\r\n", "\r\nA\r\n\r\n\r\n" },
    };
    for (const CodePage* page : { &CodePage::windows1252(), &cp437() }) {
        for (const Case& test : cases) {
            DescriptionCleaner cleaner(*page);
            for (const CleanRule rule : test.kept)
                cleaner.setRule(rule, false);
            EXPECT_EQ(cleaner.clean(test.description), test.cleaned)
                << page->name().toStdString() << ": " << test.description;
        }
    }
}

// A rules file's lines remove the description lines they match, as the board's code page
// shows them; an invalid expression names its line and takes none of the file's rules.
TEST(DescriptionCleanerTest, RulesFileLinesRemoveTheLinesTheyMatch)
{
    struct Case
    {
        std::string rules;
        std::string error; // how the refusal starts; empty: taken
        std::string description;
        std::string cleaned1252;
        std::string cleaned437;
    };
    const std::string advert = "Game\r\n\r\n|14Uploaded to |15\x1B[1mOwl BBS\r\n";
    const std::vector<Case> cases = {
        { "# adverts\n\n  Uploaded to .* BBS  \r\n", "", advert, "Game\r\n", "Game\r\n" },
        { "(?i)^call \nnever", "", "CALL 555-0199\r\nGame\r\n", "Game\r\n", "Game\r\n" },
        { "  # only comments\n#Game\n", "", advert, "Game\r\n\r\nUploaded to Owl BBS\r\n",
          "Game\r\n\r\nUploaded to Owl BBS\r\n" },
        // "café" in UTF-8: byte E9 is é in Windows-1252 and Θ in CP437.
        { "caf\xC3\xA9", "", "caf\xE9 bar\r\nx\r\n", "x\r\n", "caf\xE9 bar\r\nx\r\n" },
        { "Game\n# next\n([a-\n", "RULES.TXT line 3: invalid regular expression \"([a-\": ", advert,
          "Game\r\n\r\nUploaded to Owl BBS\r\n", "Game\r\n\r\nUploaded to Owl BBS\r\n" },
    };
    for (const Case& test : cases) {
        for (const CodePage* page : { &CodePage::windows1252(), &cp437() }) {
            DescriptionCleaner cleaner(*page);
            const std::optional<QString> error = cleaner.addLineRules(test.rules, QStringLiteral("RULES.TXT"));
            if (test.error.empty())
                EXPECT_FALSE(error.has_value()) << error.value_or(QString()).toStdString();
            else
                EXPECT_THAT(error.value_or(QString()).toStdString(), StartsWith(test.error));
            EXPECT_EQ(cleaner.clean(test.description), page == &cp437() ? test.cleaned437 : test.cleaned1252)
                << page->name().toStdString() << ": " << test.rules;
        }
    }
    DescriptionCleaner cleaner(CodePage::windows1252());
    EXPECT_THAT(cleaner.addLineRulesFile("/nonexistent/RULES.TXT").value_or(QString()).toStdString(),
                StartsWith("/nonexistent/RULES.TXT: "));
}

} // namespace
} // namespace Kelvane::Testing
