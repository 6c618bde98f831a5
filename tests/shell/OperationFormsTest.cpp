#include "shell/OperationsHost.h"

#include "accessories/AnimationControl.h"
#include "accessories/AviFiles.h"
#include "board/CurrentArea.h"
#include "editor/EntryTable.h"
#include "shell/FileSearchForm.h"
#include "shell/MakeIndexForm.h"
#include "shell/MoveFilesProgressForm.h"
#include "sortmove/MoveFiles.h"

namespace Kelvane::Testing {
namespace {

/// An area open on the host's board, its files directory holding A1..A4.
class OperationFormsTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        record = host.board.simpleRecord("area");
        record.index = (host.board.root() / "index" / "AREA.IDX").string();
        files = record.path;
        for (const char* name : { "A1", "A2", "A3", "A4" })
            TestBoard::writeFile(files / name, "x");
        Session& session = host.session();
        session.area.AreaNumber = host.board.addArea(record);
        ASSERT_TRUE(Farea_Dat_Initialize(session));
    }

    void expectMissingAnimation(const char* key)
    {
        const Session& session = host.session();
        host.port.script.expectAlert(
            key, Answer::Ok,
            { QString::fromStdString(session.area.MainNodePath.string()), session.programDirectoryText() });
    }

    template <typename T> T* find(const QString& name) const { return host.frame.findChild<T*>(name); }

    OperationsHost host;
    AreaRecord record;
    fs::path files;
    EntryTable table;
};

TEST_F(OperationFormsTest, QuitSearchStopsTheScanBetweenFiles)
{
    writeMissingAnimations(host.board.programDirectory());
    bool playing = false;
    host.port.script.onEvents = [&](int turn) {
        if (turn != 2)
            return;
        playing = find<AnimationControl>(u"aniSearch"_s)->isPlaying();
        EXPECT_EQ(find<QLabel>(u"lblFoundFile"_s)->text(), u"A1"_s);
        EXPECT_EQ(find<QLabel>(u"lblSearchPath"_s)->text(), QString::fromStdString(files.string()));
        QTest::mouseClick(find<QPushButton>(u"cmdQuitSearch"_s), Qt::LeftButton);
    };
    EXPECT_EQ(FileSearchForm::run(host, table), 2u);
    EXPECT_TRUE(playing);
    EXPECT_TRUE(host.session().SearchCancel);
    EXPECT_EQ(find<QLabel>(u"lblFileCount"_s), nullptr) << "the form is gone with the scan";
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(OperationFormsTest, AMissingAnimationIsReportedAndOthersAreFoundWhateverTheCaseOfTheirNames)
{
    expectMissingAnimation("NoAVISearch");
    EXPECT_EQ(FileSearchForm::run(host, table), 4u);
    EXPECT_EQ(table.at(3).FileName, "A4");
    table.reset({});
    const fs::path program = host.board.programDirectory();
    writeMissingAnimations(program);
    fs::rename(program / "AVI", program / "avi");
    fs::rename(program / "avi" / "SEARCH.AVI", program / "avi" / "search.avi");
    fs::rename(program / "avi" / "FILEMOVE.AVI", program / "avi" / "FileMove.Avi");
    // No alert comes: the script fails on any box.
    EXPECT_EQ(FileSearchForm::run(host, table), 4u);
    EXPECT_EQ(MoveFilesProgressForm::run(host, table, std::chrono::milliseconds(0)), 0u);
}

TEST_F(OperationFormsTest, CancelMoveStopsBeforeTheNextEntry)
{
    AreaRecord target = host.board.simpleRecord("target");
    TestBoard::writeFile(target.filesList, "");
    ASSERT_TRUE(acceptMoveTarget(host.session(), host.board.addArea(target)));
    table.reset({ { "A1", " 1", "01-01-96", "" }, { "A2", " 1", "01-01-96", "" }, { "A3", " 1", "01-01-96", "" } });
    table.selectAll();
    expectMissingAnimation("NoAVIFileMove");
    QString status;
    host.port.script.onEvents = [&](int turn) {
        if (turn != 2)
            return;
        status = find<QLabel>(u"sbFileMovePane1"_s)->text();
        QTest::mouseClick(find<QPushButton>(u"cmdCancelMove"_s), Qt::LeftButton);
    };
    EXPECT_EQ(MoveFilesProgressForm::run(host, table, std::chrono::milliseconds(0)), 1u);
    EXPECT_EQ(status, u"Moving File: A1"_s);
    EXPECT_TRUE(fs::exists(fs::path(target.path) / "A1"));
    EXPECT_TRUE(fs::exists(files / "A2"));
    EXPECT_EQ(table.size(), 2u);
    EXPECT_EQ(table.selectedIndices(), (std::vector<std::size_t> { 0, 1 })) << "the rest stays selected";
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(OperationFormsTest, MakeIndexRunsOnlyWithAreasWaiting)
{
    Session& session = host.session();
    host.frame.show();
    MakeIndexForm form(host);
    const QAbstractItemModel* rows = form.findChild<QTreeView*>(u"lsvMakeIdx"_s)->model();
    int shown = 0;
    QStringList seen; // the rows of lsvMakeIdx at each turn of the event loop
    host.port.script.onEvents = [&](int) {
        shown += form.isVisible();
        EXPECT_FALSE(host.frame.isEnabled());
        EXPECT_TRUE(form.isEnabled());
        for (int row = 0; row < rows->rowCount(); ++row)
            seen << rows->index(row, 0).data().toString() + u' ' + rows->index(row, 1).data().toString();
    };
    session.IndexPending = true;
    form.run(std::chrono::milliseconds(0));
    EXPECT_EQ(shown, 0);
    EXPECT_FALSE(fs::exists(record.index));
    EXPECT_FALSE(session.IndexPending);

    AddToMakeIndexList(session, session.area.AreaNumber);
    session.IndexPending = true;
    auto* pending = form.findChild<QListWidget*>(u"lstMakeIdx"_s);
    form.refreshPendingList();
    ASSERT_EQ(pending->count(), 1);
    EXPECT_EQ(pending->item(0)->text(), QString::number(session.area.AreaNumber));

    // A second area of two directories: the first one's files are listed while the second is
    // read, and every row is gone once an area's index is written.
    AreaRecord two = host.board.simpleRecord("two");
    two.index = (host.board.root() / "index" / "TWO.IDX").string();
    two.alt[0] = (host.board.root() / "areas" / "two-b").string();
    TestBoard::writeFile(fs::path(two.path) / "B1", "x");
    TestBoard::writeFile(fs::path(two.alt[0]) / "B2", "x");
    AddToMakeIndexList(session, host.board.addArea(two));
    form.run(std::chrono::milliseconds(0));
    EXPECT_GT(shown, 0);
    EXPECT_EQ(seen, QStringList({ u"B1 0"_s }));
    EXPECT_EQ(rows->rowCount(), 0);
    EXPECT_EQ(fs::file_size(two.index), 2 * 15u);
    EXPECT_EQ(fs::file_size(record.index), 4 * 15u);
    EXPECT_TRUE(session.makeIndexList.empty());
    EXPECT_EQ(pending->count(), 0);
    EXPECT_FALSE(form.isVisible());
    EXPECT_TRUE(host.frame.isEnabled());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

} // namespace
} // namespace Kelvane::Testing
