#include "board/FilesList.h"

#include "platform/CodePage.h"

#include <gtest/gtest.h>

#include <random>
#include <tuple>

namespace Kelvane {
namespace {

using FilesListFormat::format;
using FilesListFormat::parse;

std::string written(const std::vector<Entry>& entries)
{
    std::string out;
    format(entries, {}, [&](std::string_view bytes) { out.append(bytes); });
    return out;
}

std::string padded(std::string text, std::size_t width)
{
    text.resize(std::max(width, text.size()), ' ');
    return text;
}

// An entry line as the writer lays it out: name 1-12, size right-aligned in 13-21,
// " date " in 22-31, the first description line in 32-76; then one line per continuation.
std::string entryLines(const std::string& name,
                       const std::string& size,
                       const std::string& date,
                       const std::vector<std::string>& lines)
{
    std::string text = padded(name, 12) + std::string(9 - size.size(), ' ') + size + " " + date + " ";
    for (std::size_t i = 0; i < lines.size(); ++i)
        text += (i == 0 ? "" : std::string(31, ' ')) + padded(lines[i], 45) + "\r\n";
    return text;
}

TEST(FilesListWriter, LaysOutEveryEntryAsTheReaderExpects)
{
    const std::string x45(45, 'x');
    const std::string words = "The quick brown fox jumps over the lazy dog and runs far away";
    const auto described = [](const std::string& description) {
        return std::vector<Entry> { { "FILE.ZIP", " 1234", "05-17-96", description } };
    };
    const auto lines
        = [](const std::vector<std::string>& lines) { return entryLines("FILE.ZIP", "1234", "05-17-96", lines); };
    struct Case
    {
        const char* what;
        std::vector<Entry> entries;
        std::string expected;
        bool complete = true;
    };
    const std::vector<Case> cases = {
        { "empty", described(""), lines({ "No Description" }) },
        { "blanks before the line end are kept", described("   \r\n"), lines({ "" }) },
        { "two lines", described("A\r\nB\r\n"), lines({ "A", "B" }) },
        { "45 without a space", described(x45), lines({ x45 }) },
        { "46 without a space", described(x45 + "y"), lines({ x45, "y" }) },
        { "a CR at column 46", described(x45 + "\rz"), lines({ x45, "z" }) },
        { "wrapped at the last space", described(words),
          lines({ "The quick brown fox jumps over the lazy dog ", "and runs far away" }) },
        { "an empty line inside", described("A\r\n\r\nB\r\n"), lines({ "A", "", "B" }) },
        { "lone LFs removed", described("A\nB\r\n"), lines({ "AB" }) },
        { "a long name no directory holds is written whole, shifting the columns",
          { { "A-VERY-LONG-NAME.ZIP", " 5", "01-02-03", "D\r\n" } },
          "A-VERY-LONG-NAME.ZIP        5 01-02-03 " + padded("D", 45) + "\r\n" },
        { "a long name with an alias is written as the alias",
          { { "SHORT.ZIP", " 1", "01-01-01", "a\r\n" }, { "a long file name.zip", " 2", "01-01-01", "b\r\n" } },
          entryLines("SHORT.ZIP", "1", "01-01-01", { "a" }) + entryLines("ALONGF~1.ZIP", "2", "01-01-01", { "b" }) },
        { "NULs are removed from the name",
          { { std::string("AB\0C.TXT", 8), " 5", "01-02-03", "D\r\n" } },
          entryLines("ABC.TXT", "5", "01-02-03", { "D" }) },
        { "a short date is padded on the left",
          { { "A", " 5", "1-2-3", "D\r\n" } },
          padded("A", 12) + "        5    1-2-3 " + padded("D", 45) + "\r\n" },
        { "a size that is not a number is 0",
          { { "A", "lots", "01-02-03", "D\r\n" } },
          entryLines("A", "0", "01-02-03", { "D" }) },
        { "nine digits fill the column",
          { { "A", " 123456789", "01-02-03", "D\r\n" } },
          entryLines("A", "123456789", "01-02-03", { "D" }) },
        { "an empty name ends the list",
          { { "ONE", " 1", "01-01-01", "a\r\n" },
            { "", " 2", "01-01-01", "b\r\n" },
            { "THREE", " 3", "01-01-01", "c\r\n" } },
          entryLines("ONE", "1", "01-01-01", { "a" }),
          false },
    };
    std::vector<std::string> asked;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::string out;
        const auto shortName = [&](std::string_view name) {
            asked.emplace_back(name);
            return name == "a long file name.zip" ? std::string("ALONGF~1.ZIP") : std::string(name);
        };
        EXPECT_EQ(format(c.entries, shortName, [&](std::string_view bytes) { out.append(bytes); }), c.complete);
        EXPECT_EQ(out, c.expected);
    }
    EXPECT_EQ(asked, (std::vector<std::string> { "A-VERY-LONG-NAME.ZIP", "a long file name.zip" }));
}

TEST(FilesListReader, ReadsTheColumnsAsTheyHaveAlwaysBeenRead)
{
    const auto one = [](const std::string& name, const std::string& size, const std::string& line) {
        return entryLines(name, size, "01-01-01", { line });
    };
    const std::vector<std::tuple<const char*, std::string, std::vector<Entry>>> cases = {
        { "an empty file", "", {} },
        { "one entry with a continuation",
          entryLines("FILE.ZIP", "1234", "05-17-96", { "First", "Second" }),
          { { "FILE.ZIP", " 1234", "05-17-96", "First\r\nSecond\r\n" } } },
        { "continuation lines before the first entry are dropped",
          std::string(31, ' ') + padded("orphan", 45) + "\r\n" + one("A", "1", "x"),
          { { "A", " 1", "01-01-01", "x\r\n" } } },
        { "an empty line is an empty continuation",
          one("A", "1", "x") + "\r\n",
          { { "A", " 1", "01-01-01", "x\r\n\r\n" } } },
        { "the size is read from column 14, so nine digits lose the first",
          one("A", "123456789", "x"),
          { { "A", " 23456789", "01-01-01", "x\r\n" } } },
        { "letters in the size column read as 0", one("A", "abcdefgh", "x"), { { "A", " 0", "01-01-01", "x\r\n" } } },
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
    for (const auto& [what, data, expected] : cases) {
        SCOPED_TRACE(what);
        EXPECT_EQ(parse(data, {}).entries, expected);
    }
    // Only aliases are resolved, and every entry line is counted.
    std::vector<std::string> asked;
    const FilesListFormat::Parsed parsed
        = parse(one("ABCDEF~1.ZIP", "1", "x") + one("AB~1.ZIP", "1", "y") + one("GHIJKL~2.ZIP", "1", "z"),
                [&](std::string_view alias) -> std::optional<std::string> {
                    asked.emplace_back(alias);
                    return alias == "ABCDEF~1.ZIP" ? std::optional<std::string>("ABCDEFGHIJ.ZIP") : std::nullopt;
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
            const bool isBreak = allowBreaks && std::uniform_int_distribution<int>(0, 30)(random) == 0;
            ch = static_cast<char>(isBreak ? '\r' : std::uniform_int_distribution<int>(0x20, 0xFF)(random));
        }
        return text;
    };
    for (const QString& name : CodePage::names()) {
        SCOPED_TRACE(name.toStdString());
        std::vector<Entry> entries;
        for (int i = 0; i < 200; ++i) {
            std::string fileName = randomText(12, false);
            fileName.erase(fileName.find_last_not_of(' ') + 1);
            entries.push_back({ fileName.empty() ? "X" : fileName, ' ' + std::to_string(random() % 100000000),
                                "01-02-96", randomText(200, true) });
        }
        const std::string first = written(entries);
        const std::vector<Entry> again = parse(first, {}).entries;
        ASSERT_EQ(again.size(), entries.size());
        EXPECT_EQ(written(again), first);
        const CodePage& page = *CodePage::named(name);
        EXPECT_EQ(page.fromUnicode(page.toUnicode(first)), first);
    }
}

} // namespace
} // namespace Kelvane
