#include "cli/CliRunner.h"

#include "board/AreaRecords.h"
#include "support/TestBoard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kelvane::Testing {
namespace {

using ::testing::HasSubstr;

namespace fs = std::filesystem;

TEST(BoardCommand, BuildsABoardRecordByRecord)
{
    TestBoard board;
    const std::string node = (board.root() / "new").string();
    EXPECT_EQ(runKelvane({ "board", "init", node }).status, 0);
    const fs::path file = fs::path(node) / "Mwork" / "Farea.dat";
    EXPECT_EQ(fs::file_size(file), 0u);

    const auto added
        = runKelvane({ "board", "add", node, "--title", "Utilities", "--path", "/srv/utils", "--alt", "/srv/u2",
                       "--alt", "/srv/u3", "--index", "/srv/idx/U.IDX", "--cdrom", "no", "--offline", "" });
    EXPECT_EQ(added.status, 0) << added.err;
    EXPECT_EQ(added.out, "1\n");
    EXPECT_EQ(
        runKelvane({ "board", "add", node, "--title", "Games", "--path", "/srv/games", "--list", "/srv/g.lst" }).out,
        "2\n");
    EXPECT_EQ(runKelvane({ "board", "set", node, "2", "--master", "Yes", "--disc", "7" }).status, 0);

    const std::vector<AreaRecord> records = AreaRecordFormat::readFile(file);
    ASSERT_EQ(records.size(), 2u);
    AreaRecord first;
    first.title = "Utilities";
    first.path = "/srv/utils";
    first.alt[0] = "/srv/u2";
    first.alt[1] = "/srv/u3";
    first.filesList = "/srv/utils/FILES.LST";
    first.index = "/srv/idx/U.IDX";
    first.cdrom = "no";
    first.offline = "";
    EXPECT_EQ(records[0], first);
    EXPECT_EQ(records[1].filesList, "/srv/g.lst");
    EXPECT_EQ(records[1].master, "Yes");
    EXPECT_EQ(records[1].disc, 7);

    const auto shown = runKelvane({ "board", "show", node, "--json" });
    EXPECT_EQ(shown.status, 0);
    EXPECT_THAT(
        shown.out,
        HasSubstr(
            "\"number\": 2,\n    \"title\": \"Games\",\n    \"path\": \"/srv/games\",\n    \"alt\": [\n      \"\","));
    EXPECT_THAT(shown.out, HasSubstr("\"master\": \"Yes\",\n    \"disc\": 7\n  }\n]\n"));
    EXPECT_THAT(runKelvane({ "board", "show", node }).out,
                HasSubstr("   1  Utilities\n      files:  /srv/utils\n      alt 1:  /srv/u2\n"));
}

TEST(BoardCommand, RefusesWhatDoesNotFitAndLeavesTheFileAsItWas)
{
    TestBoard board;
    const std::string node = board.mainNode().string();
    const fs::path file = board.mainNode() / "Mwork" / "Farea.dat";
    ASSERT_EQ(runKelvane({ "board", "add", node, "--title", "Kept", "--path", "/srv" }).status, 0);
    const std::string before = TestBoard::readFile(file);
    struct Case
    {
        std::vector<std::string> arguments;
        int status;
        std::string error;
    };
    const std::vector<Case> cases = {
        { { "board", "add", node, "--title", std::string(61, 'T'), "--path", "/srv" },
          1,
          "kelvane: Title is 61 characters long; the field holds at most 60\n" },
        { { "board", "set", node, "1", "--title", "\xe4\xb8\xad" },
          1,
          "kelvane: Title holds \"\xe4\xb8\xad\" (U+4e2d), which the code page Windows-1252 cannot store\n" },
        { { "board", "set", node, "9", "--title", "x" }, 1, "kelvane: there is no area 9 on this board (it has 1)\n" },
        { { "board", "add", node, "--title", "No path" }, 2, "" },
    };
    for (const Case& c : cases) {
        const auto result = runKelvane(c.arguments);
        EXPECT_EQ(result.status, c.status) << result.err;
        if (!c.error.empty()) {
            EXPECT_EQ(result.err, c.error);
        }
        EXPECT_EQ(TestBoard::readFile(file), before);
    }
    TestBoard::writeFile(file, before + "x");
    const auto damaged = runKelvane({ "board", "show", node });
    EXPECT_EQ(damaged.status, 1);
    EXPECT_EQ(damaged.err,
              "kelvane: Farea.dat is damaged: its size, 2049 bytes, is not a whole number of 2048-byte area records\n");
}

} // namespace
} // namespace Kelvane::Testing
