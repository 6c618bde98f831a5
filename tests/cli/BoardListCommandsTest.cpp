#include "cli/CliRunner.h"

#include "board/FileDates.h"

namespace Kelvane::Testing {
namespace {

// Utilities (a file of this week, an old one, and a name with a euro sign), a damaged
// record, Games, and an area whose Files List cannot be read.
class BoardListCommandsTest : public CliTest
{
protected:
    void SetUp() override
    {
        const AreaRecord utilities = board.simpleRecord("Utilities");
        board.addArea(utilities);
        fresh = listDate(QDate::currentDate().addDays(-2));
        TestBoard::writeFile(utilities.filesList, "DOOM2.ZIP     1234567 " + fresh + " Doom II \xB3 Hell on Earth\r\n"
                                                  "                               by id Software\r\n"
                                                  "OLD.ZIP             3 01-02-97 An old tool\r\n"
                                                  "PRICE\x80.TXT          9 05-17-96 Prices\r\n");
        board.addArea(board.simpleRecord("Damaged"));
        const AreaRecord games = board.simpleRecord("Games & <More>");
        board.addArea(games);
        TestBoard::writeFile(games.filesList, "KEEN1.ZIP        1024 12-14-90 Commander Keen, a doom-free game\r\n");
        const AreaRecord unreadable = board.simpleRecord("Unreadable");
        fs::create_directory(unreadable.filesList);
        board.addArea(unreadable);
        std::fstream farea(board.mainNode() / "Mwork" / "Farea.dat", std::ios::in | std::ios::out | std::ios::binary);
        farea.seekp(1 * 2048 + 1469); // record 2's Files List field claims 128 bytes where 127 fit
        farea.put(static_cast<char>(128));
    }

    CliResult all(std::vector<std::string> arguments) const
    {
        arguments.push_back("--all");
        return kelvane(std::move(arguments));
    }

    std::string fresh;
};

TEST_F(BoardListCommandsTest, ListsInEachFormatWithTheBadAreasSkipped)
{
    const std::string doomLine = "DOOM2.ZIP     1234567 " + fresh + " Doom II \xB3 Hell on Earth";
    using Strings = std::vector<std::string>;
    const std::vector<std::tuple<Strings, Strings, Strings>> cases = {
        { { "allfiles", "--format", "text", "--title", "Night Owl BBS" },
          { "Night Owl BBS\r\nAll files, listed " + listDate(QDate::currentDate()), "Area 1: Utilities\r\n", doomLine,
            "\r\n                               by id Software", "  3 files, 1,234,579 bytes\r\n",
            "Area 3: Games & <More>", "Total: 4 files, 1,235,603 bytes in 2 areas\r\n" },
          { "Damaged", "Unreadable" } },
        { { "allfiles", "--format", "text", "--new", "30" },
          { "New files since " + listDate(QDate::currentDate().addDays(-30)), doomLine,
            "Total: 1 file, 1,234,567 bytes in 1 area" },
          { "OLD.ZIP", "Games" } },
        { { "allfiles", "--format", "text", "--since", "01-01-97" }, { "OLD.ZIP", "DOOM2.ZIP" }, { "KEEN1", "PRICE" } },
        { { "allfiles", "--format", "text", "--encoding", "utf-8" }, { "Doom II \xC2\xB3 Hell", "PRICE\xE2\x82\xAC" }, {} },
        { { "allfiles", "--format", "text", "--encoding", "cp437" }, { "Doom II ? Hell", "PRICE?.TXT" }, {} },
        { { "allfiles", "--format", "html" },
          { "<a href=\"#area-3\">Games &amp; &lt;More&gt;</a>", "<pre>Doom II \xC2\xB3 Hell on Earth\nby id Software</pre>",
            "<td class=\"size\">1,234,567</td>", "</html>\n" },
          { "<script", "src=", "http" } },
        { { "find", "doom" },
          { "Area 1: Utilities\n  DOOM2.ZIP       1,234,567  " + fresh + "  Doom II \xC2\xB3 Hell on Earth\n",
            "Area 3: Games & <More>\n  KEEN1.ZIP           1,024  12-14-90  Commander Keen", "2 files found in 2 areas\n" },
          { "by id" } },
        { { "find", "doom*", "--in", "names" }, { "DOOM2.ZIP", "1 file found in 1 area" }, { "KEEN1" } },
        { { "find", "price\xE2\x82\xAC.*", "--in", "names" }, { "PRICE\xE2\x82\xAC.TXT" }, {} },
    };
    for (const auto& [arguments, present, absent] : cases) {
        std::string label;
        for (const std::string& argument : arguments)
            label += argument + ' ';
        const CliResult result = all(arguments);
        EXPECT_EQ(result.status, 1) << label << ": the bad areas fail the run";
        for (const std::string& piece : present)
            EXPECT_NE(result.out.find(piece), std::string::npos) << label << " lacks " << piece << "\n" << result.out;
        for (const std::string& piece : absent)
            EXPECT_EQ(result.out.find(piece), std::string::npos) << label << " holds " << piece;
        EXPECT_NE(result.err.find("kelvane: area 2: its record in Farea.dat is damaged"), std::string::npos) << label;
        EXPECT_NE(result.err.find("kelvane: area 4 (Unreadable): its Files List "), std::string::npos) << label;
        const bool cp437 = arguments.size() > 4 && arguments[4] == "cp437";
        EXPECT_EQ(result.err.find("the name \"PRICE\xE2\x82\xAC.TXT\" cannot be shown in CP437") != std::string::npos,
                  cp437)
            << label << ": " << result.err;
    }
}

TEST_F(BoardListCommandsTest, JsonForMachinesAndFilesWrittenWholeOrNotAtAll)
{
    const CliResult listed = all({ "allfiles", "--format", "json", "--title", "Owl" });
    const QJsonObject list = QJsonDocument::fromJson(QByteArray::fromStdString(listed.out)).object();
    EXPECT_EQ(list[u"board"_s].toString(), u"Owl"_s);
    EXPECT_EQ(list[u"files"_s].toInt(), 4);
    const QJsonArray areas = list[u"areas"_s].toArray();
    ASSERT_EQ(areas.size(), 2) << listed.out;
    const QJsonObject doom = areas[0].toObject()[u"entries"_s].toArray()[0].toObject();
    EXPECT_EQ(doom[u"size"_s].toInt(), 1234567);
    EXPECT_EQ(doom[u"description"_s].toArray()[1].toString(), u"by id Software"_s);

    const CliResult found = all({ "find", "game", "--in", "descriptions", "--json" });
    const QJsonArray hits = QJsonDocument::fromJson(QByteArray::fromStdString(found.out)).array();
    ASSERT_EQ(hits.size(), 1) << found.out;
    EXPECT_EQ(hits[0].toObject()[u"title"_s].toString(), u"Games & <More>"_s);
    EXPECT_EQ(hits[0].toObject()[u"description"_s].toString(), u"Commander Keen, a doom-free game"_s);

    const fs::path target = board.root() / "ALLFILES.TXT";
    TestBoard::writeFile(target, "the list before");
    EXPECT_EQ(all({ "allfiles", "--format", "text", "--output", target.string() }).status, 1);
    EXPECT_NE(TestBoard::readFile(target).find("Total: 4 files"), std::string::npos);
    // A directory in the way of the output: refused, and nothing is left beside it.
    const fs::path blocked = board.root() / "blocked";
    fs::create_directory(blocked);
    const CliResult refused = all({ "allfiles", "--format", "text", "--output", blocked.string() });
    EXPECT_NE(refused.err.find("could not write"), std::string::npos) << refused.err;
    for (const fs::directory_entry& entry : fs::directory_iterator(board.root()))
        EXPECT_EQ(entry.path().filename().string().find(".ALLFILES"), std::string::npos) << entry.path();

    for (const std::vector<std::string>& bad :
         { std::vector<std::string> { "find", "\xE4\xB8\xAD" }, { "allfiles", "--format", "html", "--encoding", "cp437" },
           { "allfiles", "--format", "text", "--since", "13-45-99" } }) {
        const CliResult refusedRun = all(bad);
        EXPECT_EQ(refusedRun.status, 1) << bad[0];
        EXPECT_TRUE(refusedRun.out.empty()) << bad[0] << ": " << refusedRun.out;
    }
}

} // namespace
} // namespace Kelvane::Testing
