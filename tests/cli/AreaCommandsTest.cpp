#include "cli/CliRunner.h"

#include "board/AreaRecords.h"
#include "board/BoardTool.h"

namespace Kelvane::Testing {
namespace {

const std::string List = "GAME.ZIP         1234 05-17-96 A game in \xE9t\xE9" + std::string(32, ' ')
    + "\r\n"
      "                               second \"line\"                                \r\n"
      "TOOL.ZIP           99 01-02-97 A tool                                       \r\n";

class AreaCommandsTest : public CliTest
{
protected:
    void SetUp() override
    {
        AreaRecord record = board.simpleRecord("Games");
        record.title = "Games & More";
        board.addArea(record);
        files = record.path;
        TestBoard::writeFile(files / "FILES.LST", List);
    }

    fs::path files;
};

TEST_F(AreaCommandsTest, ShowPrintsTheEntriesRewriteKeepsThemAreasListsTheBoardAndFailuresEndWithOneLine)
{
    const auto json = kelvane({ "show", "Games & More", "--json" });
    EXPECT_EQ(json.status, 0) << json.err;
    EXPECT_EQ(
        json.out,
        "{\n  \"number\": 1,\n  \"title\": \"Games & More\",\n  \"files_list\": \"" + (files / "FILES.LST").string()
            + "\",\n  \"entries\": [\n    {\n      \"name\": \"GAME.ZIP\",\n      \"size\": 1234,\n"
              "      \"date\": \"05-17-96\",\n      \"description\": [\n        \"A game in \xC3\xA9t\xC3\xA9\",\n"
              "        \"second \\\"line\\\"\"\n      ]\n    },\n    {\n      \"name\": \"TOOL.ZIP\",\n"
              "      \"size\": 99,\n      \"date\": \"01-02-97\",\n      \"description\": [\n"
              "        \"A tool\"\n      ]\n    }\n  ]\n}\n");
    const auto text = kelvane({ "show", "1" });
    EXPECT_THAT(
        text.out,
        HasSubstr("GAME.ZIP          1234 05-17-96  A game in \xC3\xA9t\xC3\xA9\n" + std::string(34, ' ') + "second"))
        << text.out;

    // Rewrite saves the same bytes through the writer, keeping the old list as the backup.
    const auto result = kelvane({ "rewrite", "1" });
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(TestBoard::readFile(files / "FILES.LST"), List);
    EXPECT_EQ(TestBoard::readFile(files / "FILES.BAK"), List);
    EXPECT_THAT(result.err, HasSubstr("Kelvane Information\n  Changes were saved to "));

    // Areas lists the board named in the settings store; failures end with one line.
    const auto unset = runKelvane({ "areas" });
    EXPECT_EQ(unset.status, 1);
    EXPECT_THAT(unset.err, HasSubstr("You have not defined Vandor Main Node's Path!"));

    std::ofstream(board.root() / "Vandor.ini") << "[Vandor Startup]\nVandor Main Path=" << node << "\n";
    const auto listed = runKelvane({ "areas" });
    EXPECT_EQ(listed.status, 0) << listed.err;
    EXPECT_EQ(listed.out.substr(0, 24), "   1  Games & More\n     ");
    EXPECT_EQ(runKelvane({ "areas", "--json" }).out.substr(0, 40), "[\n  {\n    \"number\": 1,\n    \"title\": \"Gam");

    const std::vector<std::tuple<std::vector<std::string>, int, std::string>> cases = {
        { { "show", "7", "--main-node", node }, 1, "kelvane: there is no area \"7\" on this board (it has 1)\n" },
        { { "show", "1", "--main-node", (board.root() / "nowhere").string() },
          1,
          "Kelvane Alert!\n  Unable to Find/Open \n" },
        { { "show" }, 2, "kelvane: AREA is required" },
        { { "frobnicate" }, 2, "kelvane: " },
    };
    for (const auto& [arguments, status, errorStart] : cases) {
        const auto result = runKelvane(arguments);
        EXPECT_EQ(result.status, status);
        EXPECT_EQ(result.err.substr(0, errorStart.size()), errorStart) << result.err;
    }
    fs::remove_all(files);
    const auto missing = kelvane({ "rewrite", "1" });
    EXPECT_EQ(missing.status, 1);
    EXPECT_THAT(missing.err, HasSubstr("There is no File Area Path Defined"));
    EXPECT_EQ(runKelvane({}).status, 0);
}

TEST_F(AreaCommandsTest, BoardBuildsABoardRecordByRecord)
{
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
    const AreaRecord first { .title = "Utilities", .path = "/srv/utils", .alt = { "/srv/u2", "/srv/u3" },
                             .filesList = "/srv/utils/FILES.LST", .index = "/srv/idx/U.IDX", .cdrom = "no",
                             .offline = "" };
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

TEST_F(AreaCommandsTest, BoardRefusesWhatDoesNotFitAndLeavesTheFileAsItWas)
{
    const fs::path file = board.mainNode() / "Mwork" / "Farea.dat";
    const std::string before = TestBoard::readFile(file);
    const std::vector<std::tuple<std::vector<std::string>, int, std::string>> cases = {
        { { "board", "add", node, "--title", std::string(61, 'T'), "--path", "/srv" },
          1,
          "kelvane: Title is 61 characters long; the field holds at most 60\n" },
        { { "board", "set", node, "1", "--title", "\xe4\xb8\xad" },
          1,
          "kelvane: Title holds \"\xe4\xb8\xad\" (U+4e2d), which the code page Windows-1252 cannot store\n" },
        { { "board", "set", node, "9", "--title", "x" }, 1, "kelvane: there is no area 9 on this board (it has 1)\n" },
        { { "board", "add", node, "--title", "No path" }, 2, "" },
    };
    for (const auto& [arguments, status, error] : cases) {
        const auto result = runKelvane(arguments);
        EXPECT_EQ(result.status, status) << result.err;
        if (!error.empty()) {
            EXPECT_EQ(result.err, error);
        }
        EXPECT_EQ(TestBoard::readFile(file), before);
    }
    TestBoard::writeFile(file, before + "x");
    const auto damaged = runKelvane({ "board", "show", node });
    EXPECT_EQ(damaged.status, 1);
    EXPECT_EQ(damaged.err,
              "kelvane: Farea.dat is damaged: its size, 2049 bytes, is not a whole number of 2048-byte area records\n");
}

TEST_F(AreaCommandsTest, ExportWritesTheListAsJsonCsvAndTextThroughTheCodePage)
{
    TestBoard::writeFile(files / "My Game, Deluxe.zip", "data"); // its alias is MYGAME~1.ZIP
    const std::string blank(31, ' ');
    const std::vector<std::tuple<std::string, std::string, std::string, std::string>> cases = {
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
    for (const auto& [page, list, csv, text] : cases) {
        std::ofstream(board.root() / "Vandor.ini") << "[Kelvane Startup]\nCodePage=" << page << "\n";
        TestBoard::writeFile(files / "FILES.LST", list);
        const auto exported = [&](const std::string& format, const std::string& to) {
            const auto result = kelvane({ "export", "Games & More", "--format", format, "--output", to });
            EXPECT_EQ(result.status, 0) << result.err;
            return to == "-" ? result.out : TestBoard::readFile(to);
        };
        const std::string json = kelvane({ "show", "1", "--json" }).out;
        const std::vector<std::pair<std::string, std::string>> formats
            = { { "json", json }, { "csv", "name,size,date,description\r\n" + csv }, { "text", text } };
        for (const auto& [format, expected] : formats) {
            EXPECT_EQ(exported(format, "-"), expected) << page << ' ' << format;
            EXPECT_EQ(exported(format, output.string()), expected) << page << ' ' << format;
            EXPECT_EQ(kelvane({ "export", "1", "--format", format }).out, expected);
            EXPECT_EQ(std::distance(fs::directory_iterator(output.parent_path()), {}), 1) << "a temporary was left";
        }
        EXPECT_EQ(TestBoard::readFile(files / "FILES.LST"), list);
    }

    fs::remove(output);
    const auto unknown = kelvane({ "export", "Nothing", "--format", "csv", "--output", output.string() });
    EXPECT_EQ(unknown.status, 1);
    EXPECT_EQ(unknown.err, "kelvane: there is no area \"Nothing\" on this board (it has 1)\n");
    EXPECT_FALSE(fs::exists(output));
    fs::remove(files / "FILES.LST"); // a missing list exports empty and is not created
    EXPECT_EQ(kelvane({ "export", "1", "--format", "csv" }).out, "name,size,date,description\r\n");
    EXPECT_FALSE(fs::exists(files / "FILES.LST"));
}

} // namespace
} // namespace Kelvane::Testing
