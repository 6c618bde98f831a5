#include "editor/EditorFixture.h"

#include "board/FileDates.h"
#include "editor/Operations.h"

#include <set>

namespace Kelvane::Testing {
namespace {

using SelectionOperations = EditorFixture;

TEST_F(SelectionOperations, NothingSelectedChangesNothingAndEraseRemovesTheSelectedAfterAsking)
{
    load({ entry("A.ZIP") });
    const std::vector<void (*)(Session&, EntryTable&)> operations
        = { mnuReadDIZ_Click,        mnuFileDate_Click,
            mnuFileLength_Click,     mnuEraseFilesListOnly_Click,
            mnuRemoveUploadBy_Click, [](Session& s, EntryTable& t) { mnuDeleteFiles_Click(s, t); } };
    for (const auto operation : operations) {
        port.expectAlert("NoSelectedFiles");
        operation(*session, table);
    }
    EXPECT_EQ(table.entries(), EntryList { entry("A.ZIP") });
    EXPECT_FALSE(session->ChangesMade);

    // Erase removes the selected entries after asking.
    load({ entry("A"), entry("B"), entry("C"), entry("D") }, { 1, 3 });
    port.expectAlert("DeleteFilesListOnly", Answer::Cancel);
    mnuEraseFilesListOnly_Click(*session, table);
    EXPECT_EQ(table.size(), 4u);
    EXPECT_FALSE(session->ChangesMade);

    port.expectAlert("DeleteFilesListOnly", Answer::Ok);
    mnuEraseFilesListOnly_Click(*session, table);
    EXPECT_EQ(names(), (std::vector<std::string> { "A", "C" }));
    EXPECT_FALSE(table.anySelected());
    EXPECT_TRUE(session->ChangesMade);

    mnuSelectAllFiles_Click(table);
    port.expectAlert("DeleteFilesListOnly", Answer::Ok);
    mnuEraseFilesListOnly_Click(*session, table);
    EXPECT_TRUE(table.empty());
}

TEST_F(SelectionOperations, RefreshTakesValuesFromTheFirstDirectoryHoldingTheFile)
{
    TestBoard::writeFile(fs::path(record.alt[1]) / "Deep.zip", "12345");
    TestBoard::writeFile(files / "SAME.ZIP", "1");
    fs::last_write_time(files / "SAME.ZIP", fs::last_write_time(files / "SAME.ZIP") - std::chrono::hours(24 * 400));
    load({ entry("DEEP.ZIP "), entry("GONE.ZIP"), { "SAME.ZIP", "1", fileListDate(files / "SAME.ZIP"), "x\r\n" } },
         { 0, 1, 2 });
    port.expectContaining(u"Kelvane Alert Message!"_s, u"Files listed below were not found!\r\rGONE.ZIP "_s);
    mnuFileLength_Click(*session, table);
    EXPECT_EQ(table.at(0).Size, "5");
    EXPECT_EQ(table.at(2).Size, "1");
    // Processed entries are deselected; the missing one stays selected, marked for the user.
    EXPECT_EQ(table.selectedIndices(), std::vector<std::size_t> { 1 });
    EXPECT_TRUE(session->ChangesMade);

    session->ChangesMade = false;
    table.setSelected(2, true);
    port.expect(
        { u"Kelvane Alert!"_s, u"Files listed below were not found!\r\rGONE.ZIP "_s, Buttons::Ok, Icon::Information });
    mnuFileDate_Click(*session, table);
    EXPECT_EQ(table.at(2).Date, fileListDate(files / "SAME.ZIP"));
    EXPECT_TRUE(session->ChangesMade); // set even though the date was already right
}

// Records every box and every turn of the busy pointer, answering OK.
class RecordingPort : public UserPort
{
public:
    Answer messageBox(const MessageBox& box) override
    {
        events.push_back(box.title + u": "_s + box.text);
        return Answer::Ok;
    }
    void setBusy(bool busy) override { events.push_back(busy ? u"busy"_s : u"idle"_s); }

    QStringList events;
};

TEST_F(SelectionOperations, RefreshingBothInOnePassDoesWhatFileDateThenFileLengthDo)
{
    TestBoard::writeFile(files / "BOTH.ZIP", "12345");
    fs::last_write_time(files / "BOTH.ZIP", fs::last_write_time(files / "BOTH.ZIP") - std::chrono::hours(24 * 400));
    TestBoard::writeFile(files / "Other.zip", "123");
    TestBoard::writeFile(fs::path(record.alt[1]) / "DEEP.ZIP", "1234567");
    const EntryList entries = { entry("BOTH.ZIP"), entry("GONE.ZIP"), entry(" other.zip "), entry("DEEP.ZIP"),
                                entry("BOTH.ZIP"), entry("LOST.ZIP") };
    struct Outcome
    {
        EntryList entries;
        std::vector<std::size_t> selected; // what either refresh left selected
        bool changesMade;
        QStringList events;
    };
    const auto run = [&](const std::vector<std::size_t>& selected, bool onePass) {
        RecordingPort recorder;
        const std::unique_ptr<Session> own = board.session(recorder);
        own->area = session->area;
        table.reset(entries);
        for (const std::size_t index : selected)
            table.setSelected(index, true);
        std::set<std::size_t> left;
        if (onePass) {
            RefreshDatesAndLengths(*own, table);
        } else {
            mnuFileDate_Click(*own, table);
            const std::vector<std::size_t> afterDates = table.selectedIndices();
            left.insert(afterDates.begin(), afterDates.end());
            table.clearSelection(); // the dates stay; the same entries are selected again
            for (const std::size_t index : selected)
                table.setSelected(index, true);
            mnuFileLength_Click(*own, table);
        }
        const std::vector<std::size_t> afterAll = table.selectedIndices();
        left.insert(afterAll.begin(), afterAll.end());
        return Outcome { table.entries(), { left.begin(), left.end() }, own->ChangesMade, recorder.events };
    };
    const std::vector<std::vector<std::size_t>> selections
        = { { 0, 1, 2, 3, 4, 5 }, { 0, 2 }, { 1, 5 }, { 1, 3 }, {} };
    for (const auto& selected : selections) {
        const Outcome twoPasses = run(selected, false);
        const Outcome onePass = run(selected, true);
        EXPECT_EQ(onePass.entries, twoPasses.entries);
        EXPECT_EQ(onePass.selected, twoPasses.selected);
        EXPECT_EQ(onePass.changesMade, twoPasses.changesMade);
        EXPECT_EQ(onePass.events, twoPasses.events);
    }
    // The two passes themselves did their work: both values of a selected entry changed, an
    // unselected one kept its own, and each refresh named the missing files.
    const Outcome all = run({ 0, 1, 2, 3, 4 }, true);
    EXPECT_EQ(all.entries[0], (Entry { "BOTH.ZIP", "5", fileListDate(files / "BOTH.ZIP"), "text\r\n" }));
    EXPECT_EQ(all.entries[3].Size, "7");
    EXPECT_EQ(all.entries[5], entry("LOST.ZIP"));
    EXPECT_EQ(all.selected, std::vector<std::size_t> { 1 });
    EXPECT_EQ(all.events,
              (QStringList { u"busy"_s, u"idle"_s, u"Kelvane Alert!: Files listed below were not found!\r\rGONE.ZIP "_s,
                             u"busy"_s, u"idle"_s,
                             u"Kelvane Alert Message!: Files listed below were not found!\r\rGONE.ZIP "_s }));
}

TEST_F(SelectionOperations, DeleteRemovesOnlyFilesFoundInTheAreasOwnDirectories)
{
    const fs::path alt1 = record.alt[0];
    const fs::path alt2 = record.alt[1];
    TestBoard::writeFile(alt1 / "TWICE.ZIP", "first");
    TestBoard::writeFile(alt2 / "TWICE.ZIP", "second");
    TestBoard::writeFile(files / "readonly.zip", "r");
    fs::permissions(files / "readonly.zip", fs::perms::owner_read);
    TestBoard::writeFile(board.root() / "outside.zip", "keep");
    fs::create_symlink(board.root() / "outside.zip", files / "LINK.ZIP");
    fs::create_directory(files / "FOLDER.ZIP");
    load({ entry("TWICE.ZIP"), entry("READONLY.ZIP"), entry("LINK.ZIP"), entry("FOLDER.ZIP"), entry("../outside.zip"),
           entry("KEEP.ZIP") },
         { 0, 1, 2, 3, 4 });
    port.expectAlert("DeleteFiles", Answer::Ok);
    const DeleteReport report = mnuDeleteFiles_Click(*session, table);

    EXPECT_EQ(names(), std::vector<std::string> { "KEEP.ZIP" });
    EXPECT_FALSE(fs::exists(alt1 / "TWICE.ZIP"));
    EXPECT_TRUE(fs::exists(alt2 / "TWICE.ZIP")); // a later directory's file of the same name stays
    EXPECT_FALSE(fs::exists(files / "readonly.zip"));
    EXPECT_FALSE(fs::exists(fs::symlink_status(files / "LINK.ZIP")));
    EXPECT_EQ(TestBoard::readFile(board.root() / "outside.zip"), "keep");
    EXPECT_TRUE(fs::is_directory(files / "FOLDER.ZIP"));
    EXPECT_EQ(report.deleted, (std::vector<std::string> { "TWICE.ZIP", "READONLY.ZIP", "LINK.ZIP" }));
    EXPECT_EQ(report.notFound, (std::vector<std::string> { "FOLDER.ZIP", "../outside.zip" }));
    EXPECT_TRUE(session->ChangesMade);
    EXPECT_TRUE(session->IndexPending);
    EXPECT_EQ(session->makeIndexList, std::vector<int> { session->area.AreaNumber });
}

TEST_F(SelectionOperations, DeleteOfMissingFilesMarksNoChangesAndOnACdRomAreaAsksThenRefuses)
{
    load({ entry("GONE.ZIP"), entry("KEEP.ZIP") }, { 0 });
    port.expectAlert("DeleteFiles", Answer::Ok);
    mnuDeleteFiles_Click(*session, table);
    EXPECT_EQ(names(), std::vector<std::string> { "KEEP.ZIP" });
    EXPECT_FALSE(session->ChangesMade);
    EXPECT_FALSE(session->IndexPending);

    // On a CD-ROM area the delete asks, then refuses.
    record.cdrom = "Yes";
    open();
    TestBoard::writeFile(files / "A.ZIP", "a");
    load({ entry("A.ZIP") }, { 0 });
    port.expectAlert("DeleteFiles", Answer::Ok).expectAlert("CDRomOffline", Answer::Cancel);
    mnuDeleteFiles_Click(*session, table);
    EXPECT_TRUE(fs::exists(files / "A.ZIP"));
    EXPECT_EQ(table.size(), 1u);
}

TEST_F(SelectionOperations, UploaderLinesAreCutAtTheFirstMarker)
{
    const std::vector<std::tuple<std::string, std::string>> cases = {
        { "First line\r\nUploaded By: Sam\r\nThird\r\n", "First line\r\n" },
        { "Uploaded By someone\r\n", "" },
        { "uploaded by someone\r\n", "uploaded by someone\r\n" },
        { "A\r\n  Uploaded By x Uploaded By y\r\n", "A\r\n  " },
    };
    EntryList entries;
    for (const auto& [description, expected] : cases)
        entries.push_back(entry("F", description));
    entries.push_back(entry("UNSELECTED", "Uploaded By me\r\n"));
    load(entries, { 0, 1, 2, 3 });
    mnuRemoveUploadBy_Click(*session, table);
    for (std::size_t i = 0; i < cases.size(); ++i)
        EXPECT_EQ(table.at(i).Description, std::get<1>(cases[i])) << i;
    EXPECT_EQ(table.at(4).Description, "Uploaded By me\r\n");
    EXPECT_FALSE(table.anySelected());
    EXPECT_TRUE(session->ChangesMade);

    load({ entry("F", "uploaded by no one\r\n") }, { 0 });
    session->ChangesMade = false;
    mnuRemoveUploadBy_Click(*session, table);
    EXPECT_FALSE(session->ChangesMade);
}

} // namespace
} // namespace Kelvane::Testing
