#include "board/BasicText.h"

#include <gtest/gtest.h>

namespace Kelvane {
namespace {

TEST(BasicText, ValReadsTheNumberAtTheStart)
{
    const std::vector<std::pair<std::string, double>> cases = {
        { "", 0 },      { "  12345", 12345 }, { "1 2", 12 },    { "12abc", 12 }, { "abc", 0 },    { "-3.5", -3.5 },
        { "+7", 7 },    { ".5", 0.5 },        { "1E3", 1000 },  { "2D2", 200 },  { "&HFF", 255 }, { "&HFFFF", -1 },
        { "&O17", 15 }, { "&", 0 },           { "\t4\n2", 42 }, { "1e", 1 },     { "-", 0 },      { "00042", 42 },
    };
    for (const auto& [text, expected] : cases)
        EXPECT_DOUBLE_EQ(Val(text), expected) << '"' << text << '"';
}

TEST(BasicText, StrPutsABlankBeforeNonNegativeNumbersAndTrimmingRemovesSpacesOnly)
{
    EXPECT_EQ(Str(12345), " 12345");
    EXPECT_EQ(Str(0), " 0");
    EXPECT_EQ(Str(-3), "-3");
    EXPECT_EQ(Str(0.5), " .5");
    EXPECT_EQ(plainNumber(-0.25), "-.25");
    EXPECT_EQ(plainNumber(1e15), "1E+15");
    EXPECT_EQ(rtrimSpaces("a \t  "), "a \t");
    EXPECT_EQ(trimSpaces("  a b  "), "a b");
    EXPECT_EQ(trimSpaces("   "), "");
    EXPECT_EQ(mid("abcdef", 3, 2), "cd");
    EXPECT_EQ(mid("abc", 10), "");
}

} // namespace
} // namespace Kelvane
