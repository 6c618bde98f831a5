#include "FrameFixture.h"

#include "accessories/HelpWindow.h"

namespace Kelvane::Testing {
namespace {

using MainFrameTest = FrameFixture;

TEST_F(MainFrameTest, FirstStartIsCentredAtThreeQuartersShowsTheBarsAsAskedAndOpenFileAreasChecksThePath)
{
    settings = std::make_unique<SettingsStore>();
    settings->SaveSetting(u"Vandor Startup"_s, u"Vandor Main Path"_s, {});
    makeFrame();
    const QRect available = frame->screen()->availableGeometry();
    const QRect placement = frame->geometry();
    EXPECT_NEAR(placement.width(), available.width() * 3 / 4, 2);
    EXPECT_NEAR(placement.height(), available.height() * 3 / 4, 2);
    EXPECT_NEAR(placement.center().x(), available.center().x(), 2);
    EXPECT_TRUE(find<QToolBar>(u"tbToolBar1"_s)->isVisible());
    EXPECT_FALSE(find<QToolBar>(u"tbToolBar2"_s)->isVisible());
    EXPECT_FALSE(find<QToolBar>(u"tbToolBar3"_s)->isVisible());
    EXPECT_FALSE(find<QStatusBar>(u"sbStatusBar2"_s)->isVisible());

    port.script.expectAlert("NoPath");
    action(u"OpenFileAreas"_s)->trigger();

    // The View menu shows and hides the bars.
    action(u"mnuViewToolbar"_s)->trigger();
    EXPECT_FALSE(find<QToolBar>(u"tbToolBar1"_s)->isVisible());
    action(u"mnuViewStatusBar"_s)->trigger();
    EXPECT_FALSE(find<QStatusBar>(u"sbStatusBar1"_s)->isVisible());
    action(u"mnuViewToolbar"_s)->trigger();
    action(u"mnuViewStatusBar"_s)->trigger();
    EXPECT_TRUE(find<QToolBar>(u"tbToolBar1"_s)->isVisible());
    EXPECT_TRUE(find<QStatusBar>(u"sbStatusBar1"_s)->isVisible());
    EXPECT_TRUE(action(u"mnuOpenFileAreas"_s)->isEnabled());

    // Open File Areas checks the path first.
    const QString node = QString::fromStdString(board.mainNode().string());
    const std::tuple<QString, const char*> cases[] = {
        { u"/b"_s, "InValidPath" },
        { u"C:\\"_s, "InValidPath" },
        { QString::fromStdString(board.root().string()), "NoFareaDatFile" },
        { node, nullptr },
    };
    addArea("one", "");
    for (const auto& [path, alert] : cases) { // no alert: the chooser opens
        SCOPED_TRACE(path.toStdString());
        session->area.MainNodePath = path.toStdString();
        if (alert)
            port.script.expectAlert(alert, Answer::Ok, { path, {} });
        action(u"mnuOpenFileAreas"_s)->trigger();
        auto* chooser = frame->findChild<QWidget*>(u"frmFileAreaTitles"_s);
        EXPECT_EQ(chooser != nullptr, alert == nullptr);
        EXPECT_EQ(action(u"mnuOpenFileAreas"_s)->isEnabled(), alert != nullptr);
    }
}

TEST_F(MainFrameTest, WithAnAreaOpenOnlyTheAreaBoxSwitchesAndAFailedSwitchLeavesNoEditor)
{
    const int first = addArea("first", line("ONE.TXT", 1, "one"), { { "ONE.TXT", "1" } });
    const int second = addArea("second", line("TWO.TXT", 2, "two"), { { "TWO.TXT", "22" } });
    EditorForm* editor = openArea(first);
    EXPECT_FALSE(action(u"mnuOpenFileAreas"_s)->isEnabled());
    EXPECT_FALSE(action(u"OpenFileAreas"_s)->isEnabled());
    QTest::keyClick(frame.get(), Qt::Key_O, Qt::ControlModifier);
    frame->mnuOpenFileAreas_Click();
    EXPECT_EQ(frame->findChild<QWidget*>(u"frmFileAreaTitles"_s), nullptr);
    EXPECT_FALSE(frame->openChosenArea(u"second"_s));
    EXPECT_FALSE(frame->openArea(second));
    EXPECT_EQ(frame->editor(), editor);
    EXPECT_EQ(session->area.AreaNumber, first);

    auto* box = find<QComboBox>(u"cboToolbar3"_s);
    EXPECT_EQ(box->count(), 2);
    EXPECT_EQ(box->currentIndex(), 0);
    EXPECT_TRUE(find<QToolBar>(u"tbToolBar3"_s)->isVisible());
    EXPECT_FALSE(find<QToolBar>(u"tbToolBar1"_s)->isVisible());
    EXPECT_FALSE(find<QStatusBar>(u"sbStatusBar1"_s)->isVisible());

    box->setCurrentIndex(second - 1);
    action(u"SwitchArea"_s)->trigger();
    settle();
    ASSERT_NE(frame->editor(), nullptr);
    EXPECT_EQ(frame->editor()->windowTitle(), u"Editing File Area: second"_s);
    EXPECT_EQ(session->area.AreaNumber, second);
    EXPECT_EQ(find<QLabel>(u"lblFileName"_s)->text(), u"TWO.TXT"_s);
    EXPECT_EQ(find<QMdiArea>(u"mdiArea"_s)->subWindowList().size(), 1);

    // The first area's directory vanishes: the switch fails and the frame is back at its start.
    std::filesystem::remove_all(areaDirectory("first"));
    box->setCurrentIndex(first - 1);
    port.script.expectAlert("CanNotFindFileAreaPath");
    action(u"SwitchArea"_s)->trigger();
    EXPECT_EQ(frame->editor(), nullptr);
    EXPECT_EQ(session->area.AreaNumber, 0);
    EXPECT_EQ(box->count(), 0);
    EXPECT_TRUE(find<QToolBar>(u"tbToolBar1"_s)->isVisible());
    EXPECT_FALSE(find<QToolBar>(u"tbToolBar2"_s)->isVisible());
    EXPECT_FALSE(find<QStatusBar>(u"sbStatusBar2"_s)->isVisible());
    EXPECT_TRUE(find<QStatusBar>(u"sbStatusBar1"_s)->isVisible());
    EXPECT_TRUE(action(u"mnuOpenFileAreas"_s)->isEnabled());
}

TEST_F(MainFrameTest, HelpIsReadFromTheProgramDirectoryAndItsLossIsReported)
{
    makeFrame();
    HelpWindow& help = HelpWindow::instance();
    action(u"mnuHelpSearch"_s)->trigger();
    EXPECT_TRUE(help.isVisible());
    help.close();
    std::filesystem::remove(board.programDirectory() / "kelvane_help.html");
    for (const QString& item : { u"mnuHelpContents"_s, u"mnuHelpSearch"_s }) {
        port.script.expect({ u"Kelvane"_s,
                             u"Unable to display Help Contents. There is no Help associated with this project."_s,
                             Buttons::Ok, Icon::Information });
        action(item)->trigger();
        EXPECT_FALSE(help.isVisible());
    }
}

TEST_F(MainFrameTest, ShutDownOffersMakeIndexAndKeepsTheNormalPlacementOrThatSavedBeforeMaximizing)
{
    for (const Answer answer : { Answer::Cancel, Answer::Ok }) {
        SCOPED_TRACE(answer == Answer::Ok ? "build" : "do not build");
        AreaRecord record = board.simpleRecord("indexed");
        record.index = (board.root() / "index" / "AREA.IDX").string();
        TestBoard::writeFile(std::filesystem::path(record.path) / "README.TXT", "r");
        const int area = board.addArea(record);
        std::filesystem::remove(record.index);

        makeFrame();
        frame->setGeometry(100, 120, 640, 480);
        session->makeIndexList = { area };
        session->IndexPending = true;
        port.script.expectAlert("MakeIndex", answer);
        EXPECT_TRUE(frame->close());
        EXPECT_EQ(std::filesystem::exists(record.index), answer == Answer::Ok);

        SettingsStore saved;
        EXPECT_EQ(saved.getInt(u"Kelvane Startup"_s, u"MainWidth"_s, 0), 640 * 1440 / frame->logicalDpiX());
        EXPECT_EQ(saved.GetSetting(u"Kelvane Startup"_s, u"MainWindowState"_s), QString());
        EXPECT_EQ(saved.GetSetting(u"Vandor Startup"_s, u"Vandor Main Path"_s),
                  QString::fromStdString(board.mainNode().string()));
        frame.reset();
    }
    // A maximized frame keeps the placement saved before it was maximized.
    settings->saveInt(u"Kelvane Startup"_s, u"MainWidth"_s, 9000);
    settings->saveInt(u"Kelvane Startup"_s, u"MainWindowState"_s, 2);
    makeFrame();
    frame->showAsSaved();
    EXPECT_TRUE(frame->isMaximized());
    EXPECT_TRUE(frame->close());
    EXPECT_EQ(SettingsStore().getInt(u"Kelvane Startup"_s, u"MainWidth"_s, 0), 9000);
}

TEST_F(MainFrameTest, ADoubleClickOnTheEditorToolbarCustomizesIt)
{
    openArea(addArea("area", line("ONE.TXT", 1, "one"), { { "ONE.TXT", "1" } }));
    auto* toolBar = find<QToolBar>(u"tbToolBar2"_s);
    QTimer::singleShot(0, frame.get(), [] {
        QWidget* customize = QApplication::activeModalWidget();
        ASSERT_NE(customize, nullptr);
        EXPECT_EQ(customize->objectName(), u"dlgCustomizeToolbar"_s);
        auto* buttons = customize->findChild<QListWidget*>(u"lstToolbarButtons"_s);
        ASSERT_EQ(buttons->count(), 15);
        buttons->item(5)->setCheckState(Qt::Unchecked); // Save Work
        QTest::mouseClick(customize->findChild<QPushButton*>(u"cmdClose"_s), Qt::LeftButton);
    });
    const QPoint empty(toolBar->width() - 2, toolBar->height() / 2);
    QTest::mouseDClick(toolBar, Qt::LeftButton, {}, empty);
    EXPECT_FALSE(action(u"SaveWork"_s)->isVisible());
    EXPECT_TRUE(action(u"FileScan"_s)->isVisible());
}

} // namespace
} // namespace Kelvane::Testing
