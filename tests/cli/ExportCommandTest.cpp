#include "cli/CliRunner.h"

#include "support/TestBoard.h"

#include <gtest/gtest.h>

#include <fstream>

namespace Kelvane::Testing {
namespace {

namespace fs = std::filesystem;

TEST(ExportCommand, WritesTheListAsJsonCsvAndTextThroughTheCodePage)
{
    TestBoard board;
    const AreaRecord record = board.simpleRecord("Games");
    board.addArea(record);
    const fs::path files = record.path;
    const std::string node = board.mainNode().string();
    TestBoard::writeFile(files / "My Game, Deluxe.zip", "data"); // its alias is MYGAME~1.ZIP
    const std::string blank(31, ' ');
    struct Case
    {
        std::string page, list, csv, text;
    };
    const std::vector<Case> cases = {
        { "Windows-1252",
          "CAF\xC9.ZIP         1234 05-17-96 Caf\xE9, \"au\" lait\r\n" + blank + "second line\r\n" + blank
              + "\r\nMYGAME~1.ZIP        4 05-17-96 \r\n",
          "CAF\xC3\x89.ZIP,1234,05-17-96,\"Caf\xC3\xA9, \"\"au\"\" lait\nsecond line\n\"\r\n"
          "\"MY GAME, DELUXE.ZIP\",4,05-17-96,\r\n",
          "CAF\xC3\x89.ZIP         1234 05-17-96 Caf\xC3\xA9, \"au\" lait\r\n" + blank + "second line\r\n" + blank
              + "\r\nMYGAME~1.ZIP        4 05-17-96 \r\n" },
        { "CP437", "CAF\x90.ZIP            7 05-17-96 caf\x82\r\n", "CAF\xC3\x89.ZIP,7,05-17-96,caf\xC3\xA9\r\n",
          "CAF\xC3\x89.ZIP            7 05-17-96 caf\xC3\xA9\r\n" },
    };
    const fs::path output = board.root() / "out" / "export";
    fs::create_directories(output.parent_path());
    for (const Case& c : cases) {
        std::ofstream(board.root() / "Vandor.ini") << "[Kelvane Startup]\nCodePage=" << c.page << "\n";
        TestBoard::writeFile(files / "FILES.LST", c.list);
        const auto exported = [&](const std::string& format, const std::string& to) {
            const auto result
                = runKelvane({ "export", "Games", "--main-node", node, "--format", format, "--output", to });
            EXPECT_EQ(result.status, 0) << result.err;
            return to == "-" ? result.out : TestBoard::readFile(to);
        };
        const std::string json = runKelvane({ "show", "1", "--main-node", node, "--json" }).out;
        const std::vector<std::pair<std::string, std::string>> formats
            = { { "json", json }, { "csv", "name,size,date,description\r\n" + c.csv }, { "text", c.text } };
        for (const auto& [format, expected] : formats) {
            EXPECT_EQ(exported(format, "-"), expected) << c.page << ' ' << format;
            EXPECT_EQ(exported(format, output.string()), expected) << c.page << ' ' << format;
            EXPECT_EQ(runKelvane({ "export", "1", "--main-node", node, "--format", format }).out, expected);
            EXPECT_EQ(std::distance(fs::directory_iterator(output.parent_path()), {}), 1) << "a temporary was left";
        }
        EXPECT_EQ(TestBoard::readFile(files / "FILES.LST"), c.list);
    }

    fs::remove(output);
    const auto unknown
        = runKelvane({ "export", "Nothing", "--main-node", node, "--format", "csv", "--output", output.string() });
    EXPECT_EQ(unknown.status, 1);
    EXPECT_EQ(unknown.err, "kelvane: there is no area \"Nothing\" on this board (it has 1)\n");
    EXPECT_FALSE(fs::exists(output));
    fs::remove(files / "FILES.LST"); // a missing list exports empty and is not created
    EXPECT_EQ(runKelvane({ "export", "1", "--main-node", node, "--format", "csv" }).out,
              "name,size,date,description\r\n");
    EXPECT_FALSE(fs::exists(files / "FILES.LST"));
}

} // namespace
} // namespace Kelvane::Testing
