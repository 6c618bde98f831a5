#include "editor/EditorFixture.h"

#include "board/FileDates.h"
#include "editor/Description.h"
#include "editor/FileScan.h"
#include "editor/Operations.h"
#include "platform/ZipWriter.h"

namespace Kelvane::Testing {
namespace {

using FileScanTest = EditorFixture;

TEST_F(FileScanTest, AddsOnlyFilesTheListDoesNotHold)
{
    for (const char* name :
         { "readme.txt", "files.bak", "OLD.BAK", "FILES.BBS", "FILES.LST", "AREA.IDX", "new one.txt" })
        TestBoard::writeFile(files / name, "12345");
    TestBoard::writeFile(fs::path(record.alt[1]) / "Later.txt", "1");
    load({ entry("README.TXT") });
    EXPECT_EQ(mnuFileScan_Click(*session, table), 2u);
    ASSERT_EQ(table.size(), 3u);
    EXPECT_EQ(table.at(1), (Entry { "NEW ONE.TXT", "5", todayListDate(), "No Description" }));
    EXPECT_EQ(table.at(2).FileName, "LATER.TXT");
    EXPECT_TRUE(session->ChangesMade);
    EXPECT_TRUE(session->IndexPending);
    EXPECT_EQ(session->makeIndexList, std::vector<int> { session->area.AreaNumber });

    port.expectAlert("NoNewFilesFound");
    session->ChangesMade = false;
    EXPECT_EQ(mnuFileScan_Click(*session, table), 0u);
    EXPECT_FALSE(session->ChangesMade);
}

TEST_F(FileScanTest, RealFileDatesAndALeftoverDescription)
{
    TestBoard::writeFile(files / "OLD.TXT", "x");
    fs::last_write_time(files / "OLD.TXT", fs::last_write_time(files / "OLD.TXT") - std::chrono::hours(24 * 900));
    // A description a failed delete left in the Work directory serves the next new file.
    TestBoard::writeFile(session->workDirectory() / "file_id.diz", "Left over\r\n");
    session->RealFileDates = true;
    EXPECT_EQ(mnuFileScan_Click(*session, table), 1u);
    EXPECT_EQ(table.at(0).Date, fileListDate(files / "OLD.TXT"));
    EXPECT_NE(table.at(0).Date, todayListDate());
    EXPECT_EQ(table.at(0).Description, "Left over\r\n");
    EXPECT_FALSE(fs::exists(session->workDirectory() / "file_id.diz"));
}

TEST_F(FileScanTest, ArchivesGiveNoDescriptionWhileTheWorkDirectoryCannotTakeOne)
{
    // A folder named FILE_ID.DIZ in Work: no description can be written there, so none is
    // read, for the first archive and every one after it.
    fs::create_directories(session->workDirectory() / "FILE_ID.DIZ" / "inside");
    for (const char* name : { "A.ZIP", "B.ZIP", "C.ZIP" })
        writeZip(files / name, { { "FILE_ID.DIZ", "A real description\r\n" } });
    EXPECT_EQ(mnuFileScan_Click(*session, table), 3u);
    for (const Entry& entry : table.entries())
        EXPECT_EQ(entry.Description, "No Description") << entry.FileName;

    // Once it is gone, the descriptions come through again, each archive its own.
    fs::remove_all(session->workDirectory() / "FILE_ID.DIZ");
    for (const char* name : { "D.ZIP", "E.ZIP", "F.ZIP" })
        writeZip(files / name, { { "FILE_ID.DIZ", std::string("Number ") + name + "\r\n" } });
    TestBoard::writeFile(files / "G.TXT", "not an archive");
    EXPECT_EQ(mnuFileScan_Click(*session, table), 4u);
    EXPECT_EQ(table.at(3).Description, "Number D.ZIP\r\n");
    EXPECT_EQ(table.at(5).Description, "Number F.ZIP\r\n");
    EXPECT_EQ(table.at(6).Description, "No Description");
    EXPECT_TRUE(fs::is_empty(session->workDirectory()));
}

TEST_F(FileScanTest, StoppingKeepsWhatWasAdded)
{
    for (const char* name : { "A1", "A2" })
        TestBoard::writeFile(files / name, "x");
    for (const char* name : { "B1", "B2" })
        TestBoard::writeFile(fs::path(record.alt[0]) / name, "x");
    // The stop button is pressed while the first file of the second directory is in hand:
    // that file is finished, the next is not begun.
    port.onEvents = [&](int turn) { session->SearchCancel = turn == 3; };
    EXPECT_EQ(mnuFileScan_Click(*session, table), 3u);
    EXPECT_EQ(names(), (std::vector<std::string> { "A1", "A2", "B1" }));
    EXPECT_TRUE(session->ChangesMade);
}

TEST_F(FileScanTest, DescriptionsComeFromTheArchivesKeepingTwentyNonBlankLinesCutTo45)
{
    std::string longDiz;
    for (int i = 1; i <= 25; ++i)
        longDiz += "Line " + std::to_string(i) + "\r\n";
    writeZip(files / "FOLDER.ZIP", { { "docs/file_id.diz", "From a folder\r\n" }, { "docs/x.txt", "x" } });
    writeZip(files / "LONG.ZIP", { { "FILE_ID.DIZ", longDiz } });
    writeZip(files / "NODIZ.ZIP", { { "README", "no description here" } });
    writeZip(files / "TWO.ZIP.TXT", { { "FILE_ID.DIZ", ".ZIP anywhere in the name\r\n" } });
    TestBoard::writeFile(files / "FAKE.ZIP", "not an archive at all");
    EXPECT_EQ(mnuFileScan_Click(*session, table), 5u);
    const auto description = [&](const std::string& name) {
        for (const Entry& entry : table.entries()) {
            if (entry.FileName == name)
                return entry.Description;
        }
        return std::string("(not added)");
    };
    EXPECT_EQ(description("FOLDER.ZIP"), "From a folder\r\n");
    EXPECT_EQ(description("LONG.ZIP"), longDiz.substr(0, longDiz.find("Line 21")));
    EXPECT_EQ(description("NODIZ.ZIP"), "No Description");
    EXPECT_EQ(description("TWO.ZIP.TXT"), ".ZIP anywhere in the name\r\n");
    EXPECT_EQ(description("FAKE.ZIP"), "No Description");
    EXPECT_TRUE(fs::is_empty(session->workDirectory()));

    // A description keeps the first twenty non-blank lines, each cut to 45 columns.
    std::string diz;
    for (int i = 1; i <= 25; ++i)
        diz += "Line " + std::to_string(i) + (i == 2 ? "   \r\n   \r\n" : "\r\n");
    std::string expected;
    for (int i = 1; i <= 20; ++i)
        expected += "Line " + std::to_string(i) + "\r\n";
    EXPECT_EQ(descriptionFromDiz(diz), expected);
    EXPECT_EQ(descriptionFromDiz(std::string(50, 'x') + "\n  indented\n"), std::string(45, 'x') + "\r\n  indented\r\n");
    EXPECT_EQ(descriptionFromDiz(std::string(44, 'x') + " y\r\n"), std::string(44, 'x') + "\r\n");
    EXPECT_EQ(descriptionFromDiz("   \r\n\r\n"), "");
    EXPECT_EQ(descriptionFromDiz("Text\r\n\x1AGarbage after the end\r\n"), "Text\r\n");
    EXPECT_TRUE(isScanArchiveName("A.ZIP.TXT"));
    EXPECT_FALSE(isReadDizArchiveName("A.ZIP.TXT"));
    EXPECT_TRUE(isReadDizArchiveName("A.LZH"));
}

TEST_F(FileScanTest, ReadDizReplacesTheSelectedDescriptions)
{
    writeZip(files / "A.ZIP", { { "FILE_ID.DIZ", "Fresh text\r\n" } });
    TestBoard::writeFile(files / "B.TXT", "b");
    load({ entry("A.ZIP", "Old\r\n"), entry("B.TXT", "Old\r\n"), entry("GONE.ZIP", "Old\r\n") }, { 0, 1, 2 });
    port.expect(
        { u"Kelvane Alert!"_s, u"Files listed below were not found!\r\rGONE.ZIP "_s, Buttons::Ok, Icon::Information });
    mnuReadDIZ_Click(*session, table);
    EXPECT_EQ(table.at(0).Description, "Fresh text\r\n");
    EXPECT_EQ(table.at(1).Description, "No Description"); // not an archive: replaced all the same
    EXPECT_EQ(table.at(2).Description, "Old\r\n");
    EXPECT_EQ(table.selectedIndices(), std::vector<std::size_t> { 2 });
    EXPECT_TRUE(session->ChangesMade);
}

} // namespace
} // namespace Kelvane::Testing
