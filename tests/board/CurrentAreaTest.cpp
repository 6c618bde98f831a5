#include "board/CurrentArea.h"
#include "board/FileSystem.h"
#include "board/Session.h"
#include "support/ScriptedPort.h"
#include "support/TestBoard.h"

namespace Kelvane::Testing {
namespace {

class CurrentAreaTest : public ::testing::Test
{
protected:
    bool load(const AreaRecord& record)
    {
        session = board.session(port);
        session->area.AreaNumber = board.addArea(record);
        session->area.AreaTitle = record.title;
        return Farea_Dat_Initialize(*session);
    }

    TestBoard board;
    ScriptedPort port;
    std::unique_ptr<Session> session;
};

TEST_F(CurrentAreaTest, ReadsTheRecordWithOnlyNoMeaningNo)
{
    AreaRecord record = board.simpleRecord("flags");
    record.privateFlag = "no";
    record.cdrom = "";
    record.alias = "Yes";
    record.offline = "No";
    record.master = "No";
    record.alt[1] = (board.root() / "extra").string();
    record.alt[4] = (board.root() / "one" / "two" / "three").string(); // made with its parents
    ASSERT_TRUE(load(record));
    const CurrentArea& area = session->area;
    EXPECT_TRUE(area.IsPrivate);
    EXPECT_TRUE(area.IsCDRom);
    EXPECT_TRUE(area.AllowAlias);
    EXPECT_FALSE(area.IsOffline);
    EXPECT_FALSE(area.UsesMasterIndex);
    EXPECT_FALSE(area.TrackForIndex);
    EXPECT_EQ(area.FilePaths[0], fs::path(record.path));
    EXPECT_TRUE(area.FilePaths[1].empty());
    EXPECT_EQ(area.FilePaths[2], board.root() / "extra");
    EXPECT_EQ(area.FileListPath, fs::path(record.filesList));
    EXPECT_TRUE(fs::is_directory(board.root() / "one" / "two" / "three"));
}

TEST_F(CurrentAreaTest, TracksForTheIndexOnlyAreasOutsideTheMasterIndexAndListsEachAreaOnce)
{
    const std::string makeable = (board.root() / "index" / "deep" / "AREA.IDX").string();
    TestBoard::writeFile(board.root() / "blocker", "a file where a directory should be");
    const std::vector<std::tuple<const char*, std::string, std::string, bool>> cases = {
        { "no index path", "", "No", false },
        { "in the master index", makeable, "Yes", false },
        { "its own index", makeable, "No", true },
        { "an index directory that cannot be made", (board.root() / "blocker" / "sub" / "AREA.IDX").string(), "No",
          false },
    };
    for (const auto& [what, index, master, tracked] : cases) {
        SCOPED_TRACE(what);
        AreaRecord record = board.simpleRecord("tracked");
        record.index = index;
        record.master = master;
        ASSERT_TRUE(load(record));
        EXPECT_EQ(session->area.TrackForIndex, tracked);
    }
    EXPECT_TRUE(fs::is_directory(board.root() / "index" / "deep"));

    // The Make Index list holds each area once.
    session = board.session(port);
    for (int number : { 3, 0, 5, 3, 5, 1 })
        AddToMakeIndexList(*session, number);
    EXPECT_EQ(session->makeIndexList, (std::vector<int> { 3, 5, 1 }));
}

TEST_F(CurrentAreaTest, StopsWithTheFirstFailingChecksAlertAndReportsADamagedBoard)
{
    TestBoard::writeFile(board.root() / "blocker", "x");
    const std::vector<std::tuple<const char*, std::function<void(AreaRecord&)>, const char*>> cases = {
        { "no file path", [](AreaRecord& r) { r.path.clear(); }, "CanNotFindFileAreaPath" },
        { "a missing file directory, even with a missing list directory",
          [&](AreaRecord& r) {
              r.path = (board.root() / "gone").string();
              r.filesList = (board.root() / "gone too" / "FILES.LST").string();
          },
          "CanNotFindFileAreaPath" },
        { "offline with no file path", [](AreaRecord& r) { r.path.clear(), r.offline = "Yes"; },
          "CanNotFindFileAreaPath" },
        { "an additional directory that cannot be made",
          [&](AreaRecord& r) { r.alt[0] = (board.root() / "blocker" / "x").string(); }, nullptr },
        { "no Files List path", [](AreaRecord& r) { r.filesList.clear(); }, "CanNotFindFileListPath" },
        { "a missing Files List directory",
          [&](AreaRecord& r) { r.filesList = (board.root() / "gone" / "FILES.LST").string(); },
          "CanNotFindFileListPath" },
        { "a Files List path without a directory", [](AreaRecord& r) { r.filesList = "FILES.LST"; },
          "CanNotFindFileListPath" },
    };
    for (const auto& [what, change, alert] : cases) { // no alert: false all the same
        SCOPED_TRACE(what);
        AreaRecord record = board.simpleRecord("failing");
        change(record);
        if (alert)
            port.expectAlert(alert, Answer::Ok, { QString::fromStdString(board.mainNode().string()), {} });
        EXPECT_FALSE(load(record));
        EXPECT_TRUE(port.done());
    }

    // A damaged board is reported as an error.
    session = board.session(port);
    TestBoard::writeFile(board.mainNode() / "Mwork" / "Farea.dat", "short");
    session->area.AreaNumber = 1;
    port.expectError("Farea_Dat_Initialize");
    EXPECT_FALSE(Farea_Dat_Initialize(*session));
}

TEST_F(CurrentAreaTest, AsksForTheOfflineCdUntilItIsThereOrCancelled)
{
    AreaRecord record = board.simpleRecord("offline");
    record.offline = "Yes";
    const fs::path files = record.path;
    const MessageBox prompt { u"Kelvane Alert!"_s, offlinePromptText(u"offline"_s, driveRoot(files)), Buttons::OkCancel,
                              Icon::Information };
    port.expect(prompt, Answer::Cancel);
    EXPECT_FALSE(load(record));

    port.expect(prompt, Answer::Ok);
    EXPECT_TRUE(load(record));
    EXPECT_EQ(port.eventTurns, 2);

    fs::remove(files);
    const MessageBox retry { u"Kelvane"_s,
                             u"Kelvane is having problems Reading this\rCD-ROM Disk or can not find the File Path.\r"_s
                                 + QString::fromStdString(files.string()),
                             Buttons::RetryCancel, Icon::Critical };
    port.expect(prompt, Answer::Ok)
        .expect(retry, Answer::Retry)
        .expect(retry, Answer::Retry)
        .expect(retry, Answer::Cancel);
    EXPECT_FALSE(load(record));

    EXPECT_EQ(
        offlinePromptText(u"CD Area"_s, u"E:\\"_s),
        u"Please insert Offline CD Disc #0\rfor File Area: CD Area\rin CD-ROM Drive E:\\\r\rClick Ok when ready"_s);
}

} // namespace
} // namespace Kelvane::Testing
