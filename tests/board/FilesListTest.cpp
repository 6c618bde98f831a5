#include "board/FilesList.h"

#include "platform/CodePage.h"

#include <gtest/gtest.h>

#include <random>

namespace Kelvane {
namespace {

using FilesListFormat::format;
using FilesListFormat::parse;

std::string written(const std::vector<Entry>& entries, bool* complete = nullptr)
{
    std::string out;
    const bool done = format(entries, {}, [&](std::string_view bytes) { out.append(bytes); });
    if (complete)
        *complete = done;
    return out;
}

std::vector<Entry> read(std::string_view data)
{
    return parse(data, {}).entries;
}

std::string padded(std::string text, std::size_t width)
{
    text.resize(std::max(width, text.size()), ' ');
    return text;
}

// An entry line as the writer lays it out: name 1-12, size right-aligned in 13-21,
// " date " in 22-31, the first description line in 32-76.
std::string
entryLine(const std::string& name, const std::string& size, const std::string& date, const std::string& line)
{
    return padded(name, 12) + std::string(9 - size.size(), ' ') + size + " " + date + " " + padded(line, 45) + "\r\n";
}

std::string continuationLine(const std::string& line)
{
    return std::string(31, ' ') + padded(line, 45) + "\r\n";
}

TEST(FilesListWriter, LaysOutEveryDescriptionAsTheReaderExpects)
{
    const std::string fortyFive(45, 'x');
    const std::string words = "The quick brown fox jumps over the lazy dog and runs far away";
    struct Case
    {
        const char* what;
        std::string description;
        std::vector<std::string> lines;
    };
    const std::vector<Case> cases = {
        { "empty", "", { "No Description" } },
        { "blanks before the line end are kept", "   \r\n", { "" } },
        { "two lines", "A\r\nB\r\n", { "A", "B" } },
        { "45 without a space", fortyFive, { fortyFive } },
        { "46 without a space", fortyFive + "y", { fortyFive, "y" } },
        { "a CR at column 46", fortyFive + "\rz", { fortyFive, "z" } },
        { "wrapped at the last space", words, { "The quick brown fox jumps over the lazy dog ", "and runs far away" } },
        { "an empty line inside", "A\r\n\r\nB\r\n", { "A", "", "B" } },
        { "lone LFs removed", "A\nB\r\n", { "AB" } },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::string expected = entryLine("FILE.ZIP", "1234", "05-17-96", c.lines.front());
        for (std::size_t i = 1; i < c.lines.size(); ++i)
            expected += continuationLine(c.lines[i]);
        EXPECT_EQ(written({ { "FILE.ZIP", " 1234", "05-17-96", c.description } }), expected);
    }
}

TEST(FilesListWriter, KeepsTheColumnsQuirks)
{
    struct Case
    {
        const char* what;
        Entry entry;
        std::string expected;
    };
    const std::vector<Case> cases = {
        { "a long name no directory holds is written whole, shifting the columns",
          { "A-VERY-LONG-NAME.ZIP", " 5", "01-02-03", "D\r\n" },
          "A-VERY-LONG-NAME.ZIP        5 01-02-03 " + padded("D", 45) + "\r\n" },
        { "NULs are removed from the name",
          { std::string("AB\0C.TXT", 8), " 5", "01-02-03", "D\r\n" },
          entryLine("ABC.TXT", "5", "01-02-03", "D") },
        { "a short date is padded on the left",
          { "A", " 5", "1-2-3", "D\r\n" },
          padded("A", 12) + "        5    1-2-3 " + padded("D", 45) + "\r\n" },
        { "a size that is not a number is 0",
          { "A", "lots", "01-02-03", "D\r\n" },
          entryLine("A", "0", "01-02-03", "D") },
        { "nine digits fill the column",
          { "A", " 123456789", "01-02-03", "D\r\n" },
          entryLine("A", "123456789", "01-02-03", "D") },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(written({ c.entry }), c.expected);
    }
}

TEST(FilesListWriter, AnEmptyNameEndsTheList)
{
    bool complete = true;
    const std::string out = written({ { "ONE", " 1", "01-01-01", "a\r\n" },
                                      { "", " 2", "01-01-01", "b\r\n" },
                                      { "THREE", " 3", "01-01-01", "c\r\n" } },
                                    &complete);
    EXPECT_FALSE(complete);
    EXPECT_EQ(out, entryLine("ONE", "1", "01-01-01", "a"));
}

TEST(FilesListWriter, AskForTheShortNameOnlyOfLongNames)
{
    std::vector<std::string> asked;
    std::string out;
    format(
        { { "SHORT.ZIP", " 1", "01-01-01", "a\r\n" }, { "a long file name.zip", " 2", "01-01-01", "b\r\n" } },
        [&](std::string_view name) {
            asked.emplace_back(name);
            return std::string("ALONGF~1.ZIP");
        },
        [&](std::string_view bytes) { out.append(bytes); });
    EXPECT_EQ(asked, std::vector<std::string> { "a long file name.zip" });
    EXPECT_EQ(out, entryLine("SHORT.ZIP", "1", "01-01-01", "a") + entryLine("ALONGF~1.ZIP", "2", "01-01-01", "b"));
}

TEST(FilesListReader, ReadsTheColumnsAsTheyHaveAlwaysBeenRead)
{
    struct Case
    {
        const char* what;
        std::string data;
        std::vector<Entry> expected;
    };
    const std::vector<Case> cases = {
        { "an empty file", "", {} },
        { "one entry with a continuation",
          entryLine("FILE.ZIP", "1234", "05-17-96", "First") + continuationLine("Second"),
          { { "FILE.ZIP", " 1234", "05-17-96", "First\r\nSecond\r\n" } } },
        { "continuation lines before the first entry are dropped",
          continuationLine("orphan") + entryLine("A", "1", "01-01-01", "x"),
          { { "A", " 1", "01-01-01", "x\r\n" } } },
        { "an empty line is an empty continuation",
          entryLine("A", "1", "01-01-01", "x") + "\r\n",
          { { "A", " 1", "01-01-01", "x\r\n\r\n" } } },
        { "the size is read from column 14, so nine digits lose the first",
          entryLine("A", "123456789", "01-01-01", "x"),
          { { "A", " 23456789", "01-01-01", "x\r\n" } } },
        { "letters in the size column read as 0",
          entryLine("A", "abcdefgh", "01-01-01", "x"),
          { { "A", " 0", "01-01-01", "x\r\n" } } },
        { "no final line end", "A                   1 01-01-01 x", { { "A", " 1", "01-01-01", "x\r\n" } } },
        { "a short line", "A", { { "A", " 0", "", "\r\n" } } },
        { "lone LFs end lines in a text without CR",
          "A                   1 01-01-01 x\nB                   2 01-01-01 y\n",
          { { "A", " 1", "01-01-01", "x\r\n" }, { "B", " 2", "01-01-01", "y\r\n" } } },
        { "a lone LF stays in its line where CRs are used",
          "A\nB                 1 01-01-01 x\r\n",
          { { "A\nB", " 1", "01-01-01", "x\r\n" } } },
        { "a lone CR ends a line",
          "A                   1 01-01-01 x\rB                   2 01-01-01 y\r\n",
          { { "A", " 1", "01-01-01", "x\r\n" }, { "B", " 2", "01-01-01", "y\r\n" } } },
        { "a long line keeps only its description columns",
          "A                  1  01-01-01 " + std::string(10000, 'z'),
          { { "A", " 1", "01-01-01", std::string(45, 'z') + "\r\n" } } },
        { "NUL and high bytes are kept",
          std::string("A\0\xE9", 3) + "                 1 01-01-01 \xFF\x81\r\n",
          { { std::string("A\0\xE9", 3), " 1", "01-01-01", "\xFF\x81\r\n" } } },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(read(c.data), c.expected);
    }
}

TEST(FilesListReader, CountsEntryLinesAndResolvesOnlyAliases)
{
    std::vector<std::string> asked;
    const FilesListFormat::Parsed parsed
        = parse(entryLine("ABCDEF~1.ZIP", "1", "01-01-01", "x") + entryLine("AB~1.ZIP", "1", "01-01-01", "y")
                    + entryLine("GHIJKL~2.ZIP", "1", "01-01-01", "z"),
                [&](std::string_view alias) -> std::optional<std::string> {
                    asked.emplace_back(alias);
                    if (alias == "ABCDEF~1.ZIP")
                        return std::string("ABCDEFGHIJ.ZIP");
                    return std::nullopt;
                });
    EXPECT_EQ(asked, (std::vector<std::string> { "ABCDEF~1.ZIP", "GHIJKL~2.ZIP" }));
    EXPECT_EQ(parsed.entryLines, 3u);
    EXPECT_EQ(parsed.entries[0].FileName, "ABCDEFGHIJ.ZIP");
    EXPECT_EQ(parsed.entries[2].FileName, "GHIJKL~2.ZIP");
}

// Whatever the bytes of a list, writing what was read and reading it again gives the same
// entries; and a list in the writer's own layout is written back byte for byte.
TEST(FilesListRoundTrip, RandomListsSurviveInEveryCodePage)
{
    std::mt19937 random(20261123);
    const auto randomText = [&](std::size_t maxLength, bool allowBreaks) {
        std::string text(std::uniform_int_distribution<std::size_t>(0, maxLength)(random), ' ');
        for (char& ch : text) {
            int byte = std::uniform_int_distribution<int>(0x20, 0xFF)(random);
            if (allowBreaks && std::uniform_int_distribution<int>(0, 30)(random) == 0)
                byte = '\r';
            ch = static_cast<char>(byte);
        }
        return text;
    };
    for (const QString& name : CodePage::names()) {
        SCOPED_TRACE(name.toStdString());
        std::vector<Entry> entries;
        for (int i = 0; i < 200; ++i) {
            std::string fileName = randomText(12, false);
            if (std::string_view(fileName).find_first_not_of(' ') == std::string_view::npos)
                fileName = "X";
            while (!fileName.empty() && fileName.back() == ' ')
                fileName.pop_back();
            entries.push_back(
                { fileName, ' ' + std::to_string(random() % 100000000), "01-02-96", randomText(200, true) });
        }
        const std::string first = written(entries);
        const std::vector<Entry> again = read(first);
        ASSERT_EQ(again.size(), entries.size());
        EXPECT_EQ(written(again), first);
        const CodePage& page = *CodePage::named(name);
        EXPECT_EQ(page.fromUnicode(page.toUnicode(first)), first);
    }
}

} // namespace
} // namespace Kelvane
