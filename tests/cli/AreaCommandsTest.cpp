#include "cli/CliRunner.h"

#include "board/BoardTool.h"
#include "support/TestBoard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace Kelvane::Testing {
namespace {

using ::testing::HasSubstr;

namespace fs = std::filesystem;

const std::string List = "GAME.ZIP         1234 05-17-96 A game in \xE9t\xE9" + std::string(32, ' ')
    + "\r\n"
      "                               second \"line\"                                \r\n"
      "TOOL.ZIP           99 01-02-97 A tool                                       \r\n";

class AreaCommandsTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        AreaRecord record = board.simpleRecord("Games");
        record.title = "Games & More";
        board.addArea(record);
        files = record.path;
        TestBoard::writeFile(files / "FILES.LST", List);
        node = board.mainNode().string();
    }

    TestBoard board;
    fs::path files;
    std::string node;
};

TEST_F(AreaCommandsTest, ShowPrintsTheEntriesAsRead)
{
    const auto json = runKelvane({ "show", "Games & More", "--main-node", node, "--json" });
    EXPECT_EQ(json.status, 0) << json.err;
    EXPECT_EQ(
        json.out,
        "{\n  \"number\": 1,\n  \"title\": \"Games & More\",\n  \"files_list\": \"" + (files / "FILES.LST").string()
            + "\",\n  \"entries\": [\n    {\n      \"name\": \"GAME.ZIP\",\n      \"size\": 1234,\n"
              "      \"date\": \"05-17-96\",\n      \"description\": [\n        \"A game in \xC3\xA9t\xC3\xA9\",\n"
              "        \"second \\\"line\\\"\"\n      ]\n    },\n    {\n      \"name\": \"TOOL.ZIP\",\n"
              "      \"size\": 99,\n      \"date\": \"01-02-97\",\n      \"description\": [\n"
              "        \"A tool\"\n      ]\n    }\n  ]\n}\n");
    const auto text = runKelvane({ "show", "1", "--main-node", node });
    EXPECT_THAT(
        text.out,
        HasSubstr("GAME.ZIP          1234 05-17-96  A game in \xC3\xA9t\xC3\xA9\n" + std::string(34, ' ') + "second"))
        << text.out;
}

TEST_F(AreaCommandsTest, RewriteSavesThroughTheWriterAndKeepsTheBackup)
{
    const auto result = runKelvane({ "rewrite", "1", "--main-node", node });
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(TestBoard::readFile(files / "FILES.LST"), List);
    EXPECT_EQ(TestBoard::readFile(files / "FILES.BAK"), List);
    EXPECT_THAT(result.err, HasSubstr("Kelvane Information\n  Changes were saved to "));
}

TEST_F(AreaCommandsTest, AreasListsTheBoardFromTheSettingsStore)
{
    const auto unset = runKelvane({ "areas" });
    EXPECT_EQ(unset.status, 1);
    EXPECT_THAT(unset.err, HasSubstr("You have not defined Vandor Main Node's Path!"));

    std::ofstream(board.root() / "Vandor.ini") << "[Vandor Startup]\nVandor Main Path=" << node << "\n";
    const auto listed = runKelvane({ "areas" });
    EXPECT_EQ(listed.status, 0) << listed.err;
    EXPECT_EQ(listed.out.substr(0, 24), "   1  Games & More\n     ");
    EXPECT_EQ(runKelvane({ "areas", "--json" }).out.substr(0, 40), "[\n  {\n    \"number\": 1,\n    \"title\": \"Gam");
}

TEST_F(AreaCommandsTest, FailuresEndWithOneLineAndTheirStatus)
{
    struct Case
    {
        std::vector<std::string> arguments;
        int status;
        std::string errorStart;
    };
    const std::vector<Case> cases = {
        { { "show", "7", "--main-node", node }, 1, "kelvane: there is no area \"7\" on this board (it has 1)\n" },
        { { "show", "Nothing", "--main-node", node },
          1,
          "kelvane: there is no area \"Nothing\" on this board (it has 1)\n" },
        { { "show", "1", "--main-node", (board.root() / "nowhere").string() },
          1,
          "Kelvane Alert!\n  Unable to Find/Open \n" },
        { { "show" }, 2, "kelvane: AREA is required" },
        { { "frobnicate" }, 2, "kelvane: " },
    };
    for (const Case& c : cases) {
        const auto result = runKelvane(c.arguments);
        EXPECT_EQ(result.status, c.status);
        EXPECT_EQ(result.err.substr(0, c.errorStart.size()), c.errorStart) << result.err;
    }
    fs::remove_all(files);
    const auto missing = runKelvane({ "rewrite", "1", "--main-node", node });
    EXPECT_EQ(missing.status, 1);
    EXPECT_THAT(missing.err, HasSubstr("There is no File Area Path Defined"));
    EXPECT_EQ(runKelvane({}).status, 0);
}

} // namespace
} // namespace Kelvane::Testing
