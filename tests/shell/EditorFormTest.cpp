#include "FrameFixture.h"

#include "board/FilesList.h"
#include "platform/CodePage.h"

namespace Kelvane::Testing {
namespace {

class EditorFormTest : public FrameFixture
{
protected:
    void SetUp() override
    {
        FrameFixture::SetUp();
        list = line("ALPHA.ZIP", 100, "First file") + line("BETA.TXT", 2000, "Second file")
            + line("GAMMA.EXE", 30, "Third file");
        area = addArea("area", list, { { "ALPHA.ZIP", "a" }, { "BETA.TXT", "bb" }, { "GAMMA.EXE", "ccc" } });
    }

    QString text(const QString& label) const { return find<QLabel>(label)->text(); }
    QPlainTextEdit* box() const { return find<QPlainTextEdit>(u"txtFileDescription"_s); }
    std::filesystem::path listPath() const { return areaDirectory("area") / "FILES.LST"; }

    std::string list;
    int area = 0;
};

TEST_F(EditorFormTest, OpeningShowsTheFirstEntryAndTheAreaFlagsOrZerosForAnEmptyListEvenWithoutItsAnimation)
{
    // The date pane speaks the user's language.
    const QLocale french(QLocale::French, QLocale::France);
    QLocale::setDefault(french);
    const auto restoreLocale = qScopeGuard([] { QLocale::setDefault(QLocale::system()); });
    EditorForm* editor = openArea(area);
    ASSERT_NE(editor, nullptr);
    EXPECT_EQ(editor->windowTitle(), u"Editing File Area: area"_s);
    EXPECT_EQ(text(u"lblFileName"_s), u"ALPHA.ZIP"_s);
    EXPECT_EQ(text(u"lblFileSize"_s), u"100"_s);
    EXPECT_EQ(text(u"lblFileDate"_s), u"01-02-96"_s);
    EXPECT_EQ(text(u"lblTotalFileCt"_s), u"3"_s);
    EXPECT_EQ(box()->toPlainText(), u"First file\n"_s);
    EXPECT_FALSE(box()->isReadOnly());

    const QStringList panes
        = { u"Private:  No"_s, u"CDRom:  No"_s, u"Alias:  No"_s, u"Offline:  No"_s, u"Master:  No"_s };
    for (qsizetype i = 0; i < panes.size(); ++i)
        EXPECT_EQ(text(u"sbStatusBar2Pane%1"_s.arg(i + 1)), panes[i]);
    const QDate today = QDate::currentDate();
    EXPECT_TRUE(text(u"sbStatusBar2Pane6"_s).startsWith(french.monthName(today.month(), QLocale::ShortFormat)));
    EXPECT_TRUE(text(u"sbStatusBar2Pane6"_s).endsWith(u", %1"_s.arg(today.year()))) << "like \"nov. 3, 2026\"";
    EXPECT_FALSE(session->ChangesMade);

    // An empty list shows zeros and locks the box; an animation that cannot be found is skipped.
    action(u"Close"_s)->trigger();
    settle();
    std::filesystem::remove(board.programDirectory() / "AVI" / "FINDFILE.AVI");
    port.script.expectContaining(u"Kelvane Alert Message!"_s, u"FINDFILE.AVI\r\rKelvane will skip this operation!"_s);
    openArea(addArea("empty", ""));
    EXPECT_EQ(text(u"lblFileSize"_s), u"0"_s);
    EXPECT_EQ(text(u"lblTotalFileCt"_s), u"0"_s);
    EXPECT_EQ(text(u"lblFilesTagged"_s), u"0"_s);
    EXPECT_TRUE(text(u"lblFileName"_s).isEmpty());
    EXPECT_TRUE(box()->isReadOnly());
}

TEST_F(EditorFormTest, AnEditGoesToTheEntryItWasMadeOn)
{
    const std::tuple<QString, std::string> cases[] = {
        { u"New words"_s, "New words" }, { u"Two\nlines"_s, "Two\r\nlines" },
        { QString(), "No Description" },        { u"   \n   "_s, "No Description" },
        { u"\u00A0"_s, "\xA0" }, // only blanks count as nothing
    };
    EditorForm* editor = openArea(area);
    for (const auto& [typed, stored] : cases) {
        SCOPED_TRACE(typed.toStdString());
        clickRow(0);
        box()->setFocus();
        box()->selectAll();
        QTest::keyClick(box(), Qt::Key_Delete);
        QTest::keyClicks(box(), typed.section(u'\n', 0, 0));
        if (typed.contains(u'\n')) {
            QTest::keyClick(box(), Qt::Key_Return);
            QTest::keyClicks(box(), typed.section(u'\n', 1));
        }
        clickRow(1);
        EXPECT_EQ(editor->table().at(0).Description, stored);
        EXPECT_EQ(editor->table().at(1).Description, "Second file\r\n") << "the edit must not reach the next entry";
        EXPECT_TRUE(session->ChangesMade);
    }
    port.script.expectAlert("ChangesMade", Answer::No);
}

TEST_F(EditorFormTest, AnEditKeepsEveryByteItDidNotTouch)
{
    for (const char16_t* page : { u"Windows-1252", u"CP437" }) {
        SCOPED_TRACE(QString::fromUtf16(page).toStdString());
        // A no-break space in either page, a tab and a lone LF inside the line.
        const std::string before = line("ODD.TXT", 3,
                                        "A\xA0"
                                        "B\xFF"
                                        "\tC\nD");
        TestBoard::writeFile(listPath(), before);
        session->setCodePage(*CodePage::named(page));
        openArea(area);
        box()->setFocus();
        QTest::keyClick(box(), Qt::Key_End, Qt::ControlModifier);
        QTest::keyClick(box(), Qt::Key_Left);
        QTest::keyClicks(box(), u"X"_s);
        port.script.expectContaining(u"Kelvane Information"_s, u"Changes were saved to "_s);
        QTest::keyClick(box(), Qt::Key_S, Qt::ControlModifier);
        EXPECT_EQ(frame->editor()->table().at(0).Description,
                  "A\xA0"
                  "B\xFF"
                  "\tC\nDX\r\n");
        // The writer drops a line's lone LF, as it does for every save.
        EXPECT_EQ(TestBoard::readFile(listPath()),
                  line("ODD.TXT", 3,
                       "A\xA0"
                       "B\xFF"
                       "\tCDX"));
        action(u"Close"_s)->trigger();
        settle();
    }
}

TEST_F(EditorFormTest, ToolbarKeysReachTheEditorsCommandsWhichRestWhileAMoveTargetIsChosen)
{
    EditorForm* editor = openArea(area);
    action(u"SelectAllFiles"_s)->trigger();
    EXPECT_EQ(text(u"lblFilesTagged"_s), u"3"_s);
    action(u"UnselectAllFiles"_s)->trigger();
    EXPECT_EQ(text(u"lblFilesTagged"_s), u"0"_s);
    action(u"DownOneFile"_s)->trigger();
    action(u"DownOneFile"_s)->trigger();
    EXPECT_EQ(editor->currentRow(), 2);
    EXPECT_EQ(text(u"lblFileName"_s), u"GAMMA.EXE"_s);
    action(u"UpOneFile"_s)->trigger();
    EXPECT_EQ(text(u"lblFileName"_s), u"BETA.TXT"_s);
    EXPECT_FALSE(editor->runToolbarKey(u"savework"_s)) << "keys compare exactly";

    // Operations that find nothing to do say so through their alerts.
    action(u"UnselectAllFiles"_s)->trigger();
    port.script.expectAlert("NoSelectedFiles");
    action(u"MoveFiles"_s)->trigger();
    port.script.expectContaining(u"Kelvane Alert Message!"_s, u"not available yet"_s);
    action(u"mnuVirusCheck"_s)->trigger();

    action(u"SelectAllFiles"_s)->trigger();
    action(u"MoveFiles"_s)->trigger();
    ASSERT_NE(frame->findChild<QWidget*>(u"frmMoveFileTitles"_s), nullptr);
    for (const QString& name : { u"mnuSaveWork"_s, u"mnuFileScan"_s, u"mnuSortFile"_s, u"mnuClose"_s, u"mnuToolBar"_s })
        EXPECT_FALSE(action(name)->isEnabled()) << name.toStdString();
    QTest::keyClick(frame.get(), Qt::Key_S, Qt::ControlModifier);
    QTest::mouseClick(frame->findChild<QWidget*>(u"frmMoveFileTitles"_s)->findChild<QPushButton*>(u"cmdCancel"_s),
                      Qt::LeftButton);
    settle();
    EXPECT_TRUE(action(u"mnuSaveWork"_s)->isEnabled());
    EXPECT_TRUE(action(u"mnuFileScan"_s)->isEnabled());
}

TEST_F(EditorFormTest, SaveWorkKeepsTheOldListAsBackupAndAListChangedMeanwhileUnlessOverwritten)
{
    openArea(area);
    typeDescription(u"Typed"_s);
    port.script.expectContaining(u"Kelvane Information"_s, u"Changes were saved to "_s);
    QTest::keyClick(box(), Qt::Key_S, Qt::ControlModifier);

    EXPECT_EQ(TestBoard::readFile(listPath().parent_path() / "FILES.BAK"), list);
    const std::string saved = TestBoard::readFile(listPath());
    EXPECT_FALSE(session->ChangesMade);

    // Nothing changed since: Save Work writes nothing and shows nothing.
    frame->findChild<QAction*>(u"SaveWork"_s)->trigger();

    // A list the board changed meanwhile is kept unless the operator overwrites it.
    EditorForm* editor = frame->editor();
    typeDescription(u"Mine"_s);
    const std::string upload = line("UPLOAD.ZIP", 3, "Added by the board");
    TestBoard::writeFile(listPath(), saved + upload);
    const AlertContext context { {}, {}, QString::fromStdString(listPath().string()) };

    // Closing asks to save; refused, the editor stays open with the work in it.
    port.script.expectAlert("ChangesMade", Answer::Yes);
    port.script.expectAlert("FilesListChanged", Answer::No, context);
    action(u"Close"_s)->trigger();
    ASSERT_EQ(frame->editor(), editor);
    EXPECT_EQ(editor->table().at(0).Description, "Mine");
    EXPECT_EQ(TestBoard::readFile(listPath()), saved + upload);

    port.script.expectAlert("FilesListChanged", Answer::Yes, context);
    port.script.expectContaining(u"Kelvane Information"_s, u"Changes were saved to "_s);
    action(u"SaveWork"_s)->trigger();
    EXPECT_EQ(TestBoard::readFile(listPath()).find("UPLOAD.ZIP"), std::string::npos);
    EXPECT_FALSE(session->ChangesMade);
}

TEST_F(EditorFormTest, ClosingAsksAboutUnsavedWork)
{
    for (const Answer answer : { Answer::No, Answer::Yes }) {
        SCOPED_TRACE(answer == Answer::Yes ? "Yes" : "No");
        TestBoard::writeFile(listPath(), list);
        EditorForm* editor = openArea(area);
        editor->runToolbarKey(u"SelectAllFiles"_s);
        port.script.expectAlert("DeleteFilesListOnly", Answer::Ok);
        action(u"EraseFilesListsOnly"_s)->trigger();
        EXPECT_EQ(text(u"lblTotalFileCt"_s), u"0"_s);
        port.script.expectAlert("ChangesMade", answer);
        action(u"Close"_s)->trigger();
        EXPECT_EQ(frame->editor(), nullptr);
        EXPECT_EQ(session->area.AreaNumber, 0);
        EXPECT_EQ(TestBoard::readFile(listPath()).empty(), answer == Answer::Yes);
        EXPECT_TRUE(find<QWidget>(u"tbToolBar1"_s)->isVisible());
        EXPECT_FALSE(find<QWidget>(u"tbToolBar2"_s)->isVisible());
    }
}

TEST_F(EditorFormTest, TheRightButtonOpensFileOperationsAndKeepsTheTags)
{
    EditorForm* editor = openArea(area);
    clickRow(1);
    auto* names = find<QListView>(u"lstFileNames"_s);
    bool shown = false;
    QTimer::singleShot(0, editor, [&] {
        QMenu* menu = editor->fileOperationsMenu();
        shown = menu->isVisible();
        menu->close();
    });
    QTest::mouseClick(names->viewport(), Qt::RightButton, {}, names->visualRect(names->model()->index(2, 0)).center());
    QTest::qWait(20);
    EXPECT_TRUE(shown);
    EXPECT_EQ(editor->currentRow(), 1);
    EXPECT_EQ(editor->table().selectedIndices(), (std::vector<std::size_t> { 1 }));
}

TEST_F(EditorFormTest, TaggingWithTheMouseIsTheTablesSelection)
{
    EditorForm* editor = openArea(area);
    clickRow(0);
    clickRow(2, Qt::ControlModifier);
    EXPECT_EQ(text(u"lblFilesTagged"_s), u"2"_s);
    EXPECT_EQ(editor->table().selectedIndices(), (std::vector<std::size_t> { 0, 2 }));

    // Delete in the list erases the tagged entries, after the question.
    auto* names = find<QListView>(u"lstFileNames"_s);
    port.script.expectAlert("DeleteFilesListOnly", Answer::Ok);
    QTest::keyClick(names, Qt::Key_Delete);
    ASSERT_EQ(editor->table().size(), 1u);
    EXPECT_EQ(editor->table().at(0).FileName, "BETA.TXT");
    EXPECT_EQ(text(u"lblFileName"_s), u"BETA.TXT"_s);
    EXPECT_TRUE(session->ChangesMade);
    port.script.expectAlert("ChangesMade", Answer::No);
}

} // namespace
} // namespace Kelvane::Testing
