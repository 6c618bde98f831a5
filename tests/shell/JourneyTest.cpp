#include "FrameFixture.h"

#include "platform/ZipWriter.h"
#include "shell/AreaListForm.h"

using namespace std::string_literals;

namespace Kelvane::Testing {
namespace {

class JourneyTest : public FrameFixture
{
protected:
    /// Runs act on the next modal dialog as soon as it is up.
    void onModal(const std::function<void(QWidget*)>& act)
    {
        QTimer::singleShot(10, frame.get(), [this, act] {
            if (QWidget* modal = QApplication::activeModalWidget())
                act(modal);
            else
                onModal(act);
        });
    }

    /// Clicks a toolbar button as a user would.
    void press(const QString& toolBar, const QString& key)
    {
        auto* bar = find<QToolBar>(toolBar);
        QWidget* button = bar->widgetForAction(action(key));
        ASSERT_NE(button, nullptr) << key.toStdString();
        QTest::mouseClick(button, Qt::LeftButton);
    }

    std::vector<std::string> names() const { return namesOf(frame->editor()->table().entries()); }
};

TEST_F(JourneyTest, FromOptionsToTheMakeIndexQuestion)
{
    // An area tracked for the index, with three listed files and one new archive, and an
    // area to move to.
    AreaRecord uploads = board.simpleRecord("uploads");
    uploads.title = "Uploads";
    uploads.index = (board.root() / "index" / "UPLOADS.IDX").string();
    const fs::path files = uploads.path;
    const std::string oldList = line("ALPHA.TXT", 5, "First file") + line("BETA.TXT", 3000, "Second file")
        + line("CHARLIE.TXT", 40, "Third file");
    TestBoard::writeFile(uploads.filesList, oldList);
    TestBoard::writeFile(files / "ALPHA.TXT", "alpha");
    TestBoard::writeFile(files / "BETA.TXT", std::string(3000, 'b'));
    TestBoard::writeFile(files / "CHARLIE.TXT", std::string(40, 'c'));
    writeZip(files / "NEW.ZIP", { { "FILE_ID.DIZ", "Brand new file\r\nfrom the scan\r\n" } });
    board.addArea(uploads);
    const std::string archiveList = line("OLD.TXT", 3, "Kept here");
    addArea("Archive", archiveList, { { "OLD.TXT", "old" } });

    settings->SaveSetting(u"Vandor Startup"_s, u"Vandor Main Path"_s, {});
    makeFrame();

    // Options: the board's main node.
    const QString node = QString::fromStdString(board.mainNode().string());
    onModal([&](QWidget* options) {
        auto* path = options->findChild<QLineEdit*>(u"txtMainNode"_s);
        path->clear();
        QTest::keyClicks(path, node);
        QTest::mouseClick(options->findChild<QPushButton*>(u"cmdOK"_s), Qt::LeftButton);
    });
    action(u"mnuViewOptions"_s)->trigger();
    EXPECT_EQ(session->area.MainNodePath, board.mainNode());

    // Open File Areas, choose the first.
    press(u"tbToolBar1"_s, u"OpenFileAreas"_s);
    auto* chooser = find<AreaListForm>(u"frmFileAreaTitles"_s);
    ASSERT_NE(chooser, nullptr);
    QTest::mouseClick(chooser->findChild<QPushButton*>(u"cmdOK"_s), Qt::LeftButton);
    settle();
    ASSERT_NE(frame->editor(), nullptr);

    // Two descriptions, then Save Work.
    clickRow(0);
    typeDescription(u"Alpha edited"_s);
    clickRow(1);
    typeDescription(u"Beta edited"_s);
    clickRow(2);
    port.script.expectContaining(u"Kelvane Information"_s, u"Changes were saved to "_s);
    press(u"tbToolBar2"_s, u"SaveWork"_s);
    EXPECT_EQ(TestBoard::readFile(uploads.filesList),
              line("ALPHA.TXT", 5, "Alpha edited") + line("BETA.TXT", 3000, "Beta edited")
                  + line("CHARLIE.TXT", 40, "Third file"));
    EXPECT_EQ(TestBoard::readFile(files / "FILES.BAK"), oldList);

    // File Scan finds the archive and takes its description.
    press(u"tbToolBar2"_s, u"FileScan"_s);
    ASSERT_EQ(frame->editor()->table().size(), 4u);
    const Entry& added = frame->editor()->table().at(3);
    EXPECT_EQ(added.FileName, "NEW.ZIP");
    EXPECT_EQ(added.Description, "Brand new file\r\nfrom the scan\r\n");

    // Sort by size: the first click after start sorts ascending (the archive's headers alone
    // make it bigger than CHARLIE.TXT).
    onModal([](QWidget* sortView) {
        auto* table = sortView->findChild<QTableView*>(u"lsvEditFileArea"_s);
        QHeaderView* header = table->horizontalHeader();
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, QPoint(header->sectionViewportPosition(1) + 5, 5));
        QTest::mouseClick(sortView->findChild<QPushButton*>(u"cmdClose"_s), Qt::LeftButton);
    });
    press(u"tbToolBar2"_s, u"SortFiles"_s);
    EXPECT_EQ(names(), (std::vector<std::string> { "ALPHA.TXT", "CHARLIE.TXT", "NEW.ZIP", "BETA.TXT" }));

    // Move CHARLIE.TXT to the Archive area.
    clickRow(1);
    press(u"tbToolBar2"_s, u"MoveFiles"_s);
    auto* moveChooser = find<AreaListForm>(u"frmMoveFileTitles"_s);
    ASSERT_NE(moveChooser, nullptr);
    moveChooser->selectRow(1);
    QTest::mouseClick(moveChooser->findChild<QPushButton*>(u"cmdOK"_s), Qt::LeftButton);
    settle();
    EXPECT_EQ(frame->editor()->table().size(), 3u);
    EXPECT_TRUE(fs::exists(board.root() / "areas" / "Archive" / "CHARLIE.TXT"));
    EXPECT_EQ(TestBoard::readFile(board.root() / "areas" / "Archive" / "FILES.LST"),
              archiveList + line("CHARLIE.TXT", 40, "Third file"));

    // Switch to the Archive area with the area box: the unsaved scan and move are saved first.
    auto* box = find<QComboBox>(u"cboToolbar3"_s);
    box->setCurrentIndex(1);
    port.script.expectAlert("ChangesMade", Answer::Yes);
    port.script.expectContaining(u"Kelvane Information"_s, u"Changes were saved to "_s);
    press(u"tbToolBar3"_s, u"SwitchArea"_s);
    settle();
    ASSERT_NE(frame->editor(), nullptr);
    EXPECT_EQ(names(), (std::vector<std::string> { "OLD.TXT", "CHARLIE.TXT" }));
    const std::string uploadsList = TestBoard::readFile(uploads.filesList);
    EXPECT_THAT(uploadsList, Not(HasSubstr("CHARLIE.TXT")));
    EXPECT_THAT(uploadsList, HasSubstr("NEW.ZIP"));

    // Exit, building the index of the area the scan and the move changed.
    port.script.expectAlert("MakeIndex", Answer::Ok);
    action(u"mnuExit"_s)->trigger();
    EXPECT_FALSE(frame->isVisible());
    // ALPHA.TXT, BETA.TXT, FILES.BAK and FILES.LST (their records left empty), NEW.ZIP.
    EXPECT_EQ(TestBoard::readFile(uploads.index),
              "\0\0ALPHA.TXT\0   "s + "\0\0BETA.TXT\0    "s + std::string(30, '\0') + "\0\0NEW.ZIP\0     "s);
}

} // namespace
} // namespace Kelvane::Testing
