#include "editor/DescriptionLists.h"

#include <gtest/gtest.h>

namespace Kelvane::Testing {
namespace {

using DescriptionLists::Listed;

struct ReadCase
{
    const char* what;
    std::string text;
    std::vector<Listed> listed;
};

const std::string Overlong = std::string(1001, 'x');

TEST(DescriptionListsTest, FilesBbsDialectsAndDamage)
{
    const std::vector<ReadCase> cases = {
        { "name and description", "GAME.ZIP  A game\r\nTOOL.ZIP\tA tool  \r\n",
          { { "GAME.ZIP", "A game\r\n" }, { "TOOL.ZIP", "A tool\r\n" } } },
        { "size and date before the description", "GAME.ZIP   123456 05-17-96 1995 edition\r\nB.ZIP 12/31/1999 Dated\r\n",
          { { "GAME.ZIP", "1995 edition\r\n" }, { "B.ZIP", "Dated\r\n" } } },
        { "continuations by blanks, | and +",
          "GAME.ZIP 1 01-01-96 First\r\n                    | second\r\n   third\r\n+  fourth\r\n|\r\n|last\r\n",
          { { "GAME.ZIP", "First\r\nsecond\r\nthird\r\n fourth\r\n\r\nlast\r\n" } } },
        { "CR-only, LF-only and no final line end", "A.ZIP one\r |more\rB.ZIP two\nC.ZIP three",
          { { "A.ZIP", "one\r\nmore\r\n" }, { "B.ZIP", "two\r\n" }, { "C.ZIP", "three\r\n" } } },
        { "a name listed twice stays twice, in order", "A.ZIP first\r\na.zip second\r\n",
          { { "A.ZIP", "first\r\n" }, { "a.zip", "second\r\n" } } },
        { "a blank line ends the entry; orphans are dropped", " |orphan\r\nA.ZIP x\r\n\r\n   header text\r\n",
          { { "A.ZIP", "x\r\n" } } },
        { "an overlong name line takes its continuations with it",
          "A.ZIP a\r\n" + Overlong + "\r\n | lost\r\nB.ZIP b\r\n | " + Overlong + "\r\n | kept\r\n",
          { { "A.ZIP", "a\r\n" }, { "B.ZIP", "b\r\nkept\r\n" } } },
        { "names no file can have, garbage and Ctrl+Z",
          "DIR/X.ZIP a\r\n..\r\nBAD\x01.ZIP b\r\n\xB0\xB1.ZIP \xDB\xDB box\r\nZ.ZIP z\x1A\r\nAFTER.ZIP no\r\n",
          { { "\xB0\xB1.ZIP", "\xDB\xDB box\r\n" }, { "Z.ZIP", "z\r\n" } } },
        { "no description and blank lines around the text", "A.ZIP\r\nB.ZIP 12 01-01-96\r\n |\r\n | b\r\n |\r\n",
          { { "A.ZIP", "" }, { "B.ZIP", "b\r\n" } } },
    };
    for (const ReadCase& c : cases)
        EXPECT_EQ(DescriptionLists::parseFilesBbs(c.text), c.listed) << c.what;
}

TEST(DescriptionListsTest, DescriptIonDialectsAndDamage)
{
    const std::vector<ReadCase> cases = {
        { "plain and quoted long names", "game.zip A game  \r\n\"long file name.txt\"   Long one\r\n",
          { { "game.zip", "A game\r\n" }, { "long file name.txt", "Long one\r\n" } } },
        { "CR-only, LF-only and no final line end", "a.txt one\rb.txt two\nc.txt three",
          { { "a.txt", "one\r\n" }, { "b.txt", "two\r\n" }, { "c.txt", "three\r\n" } } },
        { "a name listed twice stays twice", "a.txt first\r\nA.TXT second\r\n",
          { { "a.txt", "first\r\n" }, { "A.TXT", "second\r\n" } } },
        { "Ctrl+D ends the text; Ctrl+D 0xC2 joins lines by \\n",
          "a.txt one\x04" "extra\r\nb.txt first\\n  second\\n\\n\x04\xC2\r\nc.txt not\\nsplit\r\n",
          { { "a.txt", "one\r\n" }, { "b.txt", "first\r\n  second\r\n" }, { "c.txt", "not\\nsplit\r\n" } } },
        { "damage: unclosed quote, no blank after the quote, overlong, garbage",
          "\"open.txt x\r\n\"x.txt\"y\r\n" + Overlong + " z\r\nsep/x.txt q\r\n\xE9t\xE9.txt caf\xE9\r\nbare.txt\r\n",
          { { "\xE9t\xE9.txt", "caf\xE9\r\n" }, { "bare.txt", "" } } },
    };
    for (const ReadCase& c : cases)
        EXPECT_EQ(DescriptionLists::parseDescriptIon(c.text), c.listed) << c.what;
}

// Written byte for byte as the readers above and other boards read them.
TEST(DescriptionListsTest, WritersLayOutTheLines)
{
    EXPECT_EQ(DescriptionLists::formatFilesBbs({ { "GAME.ZIP", 123456, "05-17-96", "First\r\n  indented\r\n\r\n" },
                                                 { "NONE.TXT", 0, "01-01-96", "" },
                                                 { "ART.TXT", 5, "01-01-96", "  indented first\r\n" } }),
              "GAME.ZIP       123456 05-17-96 First\r\n             |   indented\r\n             |\r\n"
              "NONE.TXT            0 01-01-96\r\n"
              "ART.TXT             5 01-01-96\r\n             |   indented first\r\n");
    EXPECT_EQ(DescriptionLists::formatDescriptIon(
                  { { "a long name.txt", "One\r\n" }, { "B.ZIP", "x\r\ny\r\n" }, { "C.TXT", "  art\r\n" } }),
              "\"a long name.txt\" One\r\nB.ZIP x\\ny\x04\xC2\r\nC.TXT \\n  art\x04\xC2\r\n");
}

} // namespace
} // namespace Kelvane::Testing
