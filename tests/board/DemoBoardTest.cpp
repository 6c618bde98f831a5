#include "board/DemoBoard.h"

#include "board/BoardTool.h"
#include "board/FilesList.h"
#include "platform/Archives.h"
#include "platform/CodePage.h"
#include "support/TestBoard.h"

#include <chrono>

namespace Kelvane::Testing {
namespace {

class DemoBoardTest : public ::testing::Test
{
protected:
    void SetUp() override { mainNode = DemoBoard::build(demo, CodePage::windows1252()); }

    TestBoard board;
    fs::path demo = fs::canonical(board.root()) / "demo";
    fs::path mainNode;
    fs::path utils = demo / "files" / "utils";
};

TEST_F(DemoBoardTest, AreasCarryTheirFlagsAndTheirDirectoriesExist)
{
    EXPECT_EQ(mainNode, demo / "board");
    const std::vector<std::tuple<std::string, std::string, std::string, bool, int, bool>> expected {
        { "General Utilities", "No", "No", false, 0, true },
        { "Games (three directories)", "No", "No", false, 2, true },
        { "Shareware CD-ROM", "Yes", "No", false, 0, true },
        { "Offline CD Collection", "Yes", "Yes", false, 0, true },
        { "New Uploads (indexed)", "No", "No", true, 0, true },
        { "Empty Area", "No", "No", false, 0, false },
    };
    const std::vector<AreaRecord> records = BoardTool::read(mainNode);
    ASSERT_EQ(records.size(), expected.size());
    for (std::size_t i = 0; i < records.size(); ++i) {
        const AreaRecord& record = records[i];
        const auto& [title, cdrom, offline, indexed, additional, listed] = expected[i];
        SCOPED_TRACE(record.title);
        EXPECT_EQ(std::tie(record.title, record.cdrom, record.offline, record.master),
                  std::make_tuple(title, cdrom, offline, std::string("No")));
        EXPECT_EQ(record.index.empty(), !indexed);
        EXPECT_TRUE(fs::is_directory(record.path));
        EXPECT_EQ(fs::exists(record.filesList), listed);
        int count = 0;
        for (const std::string& alt : record.alt) {
            EXPECT_TRUE(alt.empty() || fs::is_directory(alt)) << alt;
            count += alt.empty() ? 0 : 1;
        }
        EXPECT_EQ(count, additional);
    }
}

TEST_F(DemoBoardTest, PlainAreaListsGoneFilesAndHoldsUnlistedOnesAndBuildingAgainStartsAfresh)
{
    const EntryList entries = FilesListFormat::parse(TestBoard::readFile(utils / "FILES.LST"), {}).entries;
    EXPECT_EQ(namesOf(entries),
              (std::vector<std::string> { "ARCHIVER.ZIP", "ANSIVIEW.ZIP", "README.TXT", "OLDTOOL.ZIP", "GONE.TXT" }));
    EXPECT_EQ(entries[1].Description, "ANSI art viewer for DOS, version 3.0\r\nUploaded By: Sam Sysop\r\n");
    for (const char* name : { "ARCHIVER.ZIP", "NEWTOOL.ZIP", "Long File Name Utility.zip" })
        EXPECT_TRUE(fs::exists(utils / name)) << name;
    EXPECT_FALSE(fs::exists(utils / "OLDTOOL.ZIP"));
    EXPECT_FALSE(fs::exists(utils / "GONE.TXT"));
    EXPECT_LT(fs::last_write_time(utils / "NEWTOOL.ZIP"), fs::file_time_type::clock::now() - std::chrono::days(399));
    EXPECT_EQ(fs::status(utils / "READONLY.TXT").permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);

    // Building again starts the board afresh.
    fs::remove(utils / "ARCHIVER.ZIP");
    EXPECT_EQ(DemoBoard::build(demo, CodePage::windows1252()), mainNode);
    EXPECT_EQ(BoardTool::read(mainNode).size(), 6U);
    EXPECT_TRUE(fs::exists(utils / "ARCHIVER.ZIP"));
    EXPECT_EQ(fs::status(utils / "READONLY.TXT").permissions() & fs::perms::owner_write, fs::perms::none);
}

// The descriptions inside the archives are DOS text: CR LF only, one of more than twenty
// lines, one wider than the 45 columns of a Files List.
TEST_F(DemoBoardTest, ArchivesCarryDosDescriptions)
{
    const fs::path work = board.root() / "work";
    fs::create_directories(work);
    const std::string uploader = "\r\nUploaded By: Sam Sysop on 05-17-96\r\n";
    // Each archive, the lines of its FILE_ID.DIZ (0: it has none) and a text the DIZ holds.
    const std::vector<std::tuple<std::string, int, std::string>> archives = { { "ARCHIVER.ZIP", 1, "" },
                                                                              { "ANSIVIEW.ZIP", 4, uploader },
                                                                              { "MULTI.ZIP", 4, "" },
                                                                              { "LONGDIZ.ZIP", 25, "" },
                                                                              { "WIDE.ZIP", 3, "" },
                                                                              { "NODIZ.ZIP", 0, "" },
                                                                              { "Long File Name Utility.zip", 1, "" } };
    for (const auto& [name, lines, holds] : archives) {
        SCOPED_TRACE(name);
        fs::remove(work / "FILE_ID.DIZ");
        EXPECT_EQ(extractMember(utils / name, work, "FILE_ID.DIZ", ArchiveReaders::InProcessOnly),
                  lines > 0 ? ExtractResult::Extracted : ExtractResult::NoMember);
        const std::string text = TestBoard::readFile(work / "FILE_ID.DIZ");
        int count = text.empty() || text.ends_with("\r\n") ? 0 : 1;
        for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 1), ++count)
            EXPECT_EQ(text[at - 1], '\r') << "a lone LF at " << at;
        EXPECT_EQ(count, lines);
        EXPECT_THAT(text, HasSubstr(holds));
        if (name == "WIDE.ZIP") {
            EXPECT_GT(text.find("\r\n"), 45U);
        }
    }
}

} // namespace
} // namespace Kelvane::Testing
