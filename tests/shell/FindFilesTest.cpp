#include "FrameFixture.h"

#include "platform/CodePage.h"
#include "shell/FindFilesForm.h"
#include "shell/FindResultsModel.h"

namespace Kelvane::Testing {
namespace {

SearchHit hit(int area, std::size_t index, const std::string& name)
{
    return { area, index, name, 1234, "01-02-96", name + " first line" };
}

TEST(FindResultsModelTest, RowsArriveInOneInsertionPerAreaAndTheEntryRowFollowsTheName)
{
    FindResultsModel model(CodePage::windows1252());
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    std::vector<SearchHit> hits { hit(1, 0, "A.ZIP"), hit(1, 4, "B.ZIP") };
    model.addArea(1, u"Utilities"_s, hits);
    std::vector<SearchHit> none;
    model.addArea(2, u"Empty"_s, none);
    hits = { hit(3, 0, "C.ZIP"), hit(3, 1, "D.ZIP"), hit(3, 9, "E\xC9.ZIP") };
    model.addArea(3, u"Games"_s, hits);

    EXPECT_EQ(inserted.count(), 2);
    ASSERT_EQ(model.rowCount(), 5);
    EXPECT_TRUE(hits.empty());
    const auto cell = [&](int row, int column) { return model.index(row, column).data().toString(); };
    EXPECT_EQ(cell(4, FindResultsModel::Area), u"Games"_s);
    EXPECT_EQ(cell(4, FindResultsModel::FileName), u"E\u00C9.ZIP"_s);
    EXPECT_EQ(cell(4, FindResultsModel::Size), u"1234"_s);
    EXPECT_EQ(cell(4, FindResultsModel::Date), u"01-02-96"_s);
    EXPECT_EQ(cell(1, FindResultsModel::Description), u"B.ZIP first line"_s);
    EXPECT_EQ(model.hit(1).index, 4u);

    model.clear();
    EXPECT_EQ(model.rowCount(), 0);

    // A result's entry row follows its name when the list moved since.
    const EntryList entries { { "ONE.ZIP", " 1", "", "" }, { "TWO.ZIP", " 2", "", "" }, { "two.txt", " 3", "", "" } };
    const std::tuple<std::size_t, std::string, int> cases[] = {
        { 1, "TWO.ZIP", 1 }, // where the search found it
        { 0, "TWO.ZIP", 1 }, // sorted since
        { 7, "ONE.ZIP", 0 }, // the list is shorter now
        { 0, "Two.Txt", 2 }, // another case
        { 1, "GONE.ZIP", -1 },
    };
    for (const auto& [index, name, row] : cases)
        EXPECT_EQ(entryRow(entries, index, name), row) << name;
}

class FindFilesTest : public FrameFixture
{
protected:
    void SetUp() override
    {
        FrameFixture::SetUp();
        first = addArea("first", line("ONE.TXT", 1, "one") + line("DOOM.ZIP", 2, "a game"),
                        { { "ONE.TXT", "1" }, { "DOOM.ZIP", "22" } });
        second = addArea("second", line("TWO.TXT", 3, "two") + line("DOOM2.ZIP", 4, "doom again"),
                         { { "TWO.TXT", "333" }, { "DOOM2.ZIP", "4444" } });
    }

    FindFilesForm* openFindWindow()
    {
        QTest::keyClick(frame.get(), Qt::Key_F, Qt::ControlModifier);
        auto* form = frame->findChild<FindFilesForm*>(u"frmFindFiles"_s);
        EXPECT_NE(form, nullptr);
        EXPECT_TRUE(form && form->isVisible());
        return form;
    }

    void search(FindFilesForm* form, const QString& pattern)
    {
        auto* box = form->findChild<QLineEdit*>(u"txtPattern"_s);
        box->setFocus();
        box->selectAll();
        QTest::keyClicks(box, pattern);
        QTest::keyClick(box, Qt::Key_Return);
    }

    static QStringList names(FindFilesForm* form)
    {
        QStringList names;
        for (int row = 0; row < form->results().rowCount(); ++row)
            names.append(form->results().index(row, FindResultsModel::FileName).data().toString());
        return names;
    }

    static void doubleClickRow(FindFilesForm* form, int row)
    {
        auto* table = form->findChild<QTableView*>(u"lsvFindResults"_s);
        const QPoint cell = table->visualRect(table->model()->index(row, FindResultsModel::FileName)).center();
        QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, cell);
        QTest::mouseDClick(table->viewport(), Qt::LeftButton, {}, cell);
    }

    QStringList menuTitles() const
    {
        QStringList titles;
        for (QAction* menu : frame->menuBar()->actions())
            if (menu->isVisible())
                titles.append(menu->text());
        return titles;
    }

    int first = 0;
    int second = 0;
};

TEST_F(FindFilesTest, FindsAcrossAreasAndADoubleClickOpensTheAreaAtTheEntry)
{
    makeFrame();
    EXPECT_EQ(menuTitles(), (QStringList { u"&File"_s, u"&View"_s, u"&Tools"_s, u"&Help"_s }));
    FindFilesForm* form = openFindWindow();
    search(form, u"doom*"_s);
    EXPECT_EQ(names(form), (QStringList { u"DOOM.ZIP"_s, u"DOOM2.ZIP"_s }));
    EXPECT_EQ(form->findChild<QLabel*>(u"lblStatus"_s)->text(), u"2 files found in 2 File Areas"_s);

    doubleClickRow(form, 1);
    ASSERT_NE(frame->editor(), nullptr);
    EXPECT_EQ(frame->editor()->windowTitle(), u"Editing File Area: second"_s);
    EXPECT_EQ(frame->editor()->currentRow(), 1);
    EXPECT_EQ(session->area.AreaNumber, second);
    EXPECT_EQ(menuTitles().mid(menuTitles().size() - 2), (QStringList { u"&Tools"_s, u"&Help"_s }));
    EXPECT_TRUE(action(u"mnuFindFiles"_s)->isEnabled());

    // Ctrl+F while editing brings the same window forward.
    frame->activateWindow();
    EXPECT_EQ(openFindWindow(), form);
    EXPECT_EQ(frame->findChildren<FindFilesForm*>().size(), 1);
}

TEST_F(FindFilesTest, ASwitchFromAnAreaWithUnsavedWorkAsksFirstAndKeepsOneEditor)
{
    EditorForm* editor = openArea(first);
    typeDescription(u"Mine"_s);
    const std::filesystem::path list = areaDirectory("first") / "FILES.LST";
    const std::string upload = line("UPLOAD.ZIP", 5, "Added by the board");
    TestBoard::writeFile(list, TestBoard::readFile(list) + upload);

    FindFilesForm* form = openFindWindow();
    search(form, u"TWO"_s);
    ASSERT_EQ(names(form), (QStringList { u"TWO.TXT"_s }));

    // The save is refused: the editor stays with the work in it and nothing else opens.
    const AlertContext context { {}, {}, QString::fromStdString(list.string()) };
    port.script.expectAlert("ChangesMade", Answer::Yes);
    port.script.expectAlert("FilesListChanged", Answer::No, context);
    doubleClickRow(form, 0);
    ASSERT_EQ(frame->editor(), editor);
    EXPECT_EQ(session->area.AreaNumber, first);
    EXPECT_EQ(editor->table().at(0).Description, "Mine");

    port.script.expectAlert("ChangesMade", Answer::No);
    doubleClickRow(form, 0);
    settle();
    ASSERT_NE(frame->editor(), nullptr);
    EXPECT_EQ(session->area.AreaNumber, second);
    EXPECT_EQ(frame->editor()->currentRow(), 0);
    EXPECT_EQ(frame->findChildren<EditorForm*>().size(), 1);
}

TEST_F(FindFilesTest, CancelStopsBetweenAreasAndOneAreaCanBeChosen)
{
    addArea("third", line("DOOM3.ZIP", 5, "doom once more"), { { "DOOM3.ZIP", "55555" } });
    makeFrame();
    FindFilesForm* form = openFindWindow();
    auto* cancel = form->findChild<QPushButton*>(u"cmdCancel"_s);
    port.script.onEvents = [&](int turn) {
        if (turn == 1)
            QTest::mouseClick(cancel, Qt::LeftButton);
    };
    search(form, u"doom"_s);
    EXPECT_EQ(names(form), (QStringList { u"DOOM.ZIP"_s }));
    EXPECT_TRUE(form->findChild<QLabel*>(u"lblStatus"_s)->text().startsWith(u"Stopped after 1 of 3 File Areas"_s));
    port.script.onEvents = nullptr;

    form->findChild<QComboBox*>(u"cboSearchIn"_s)->setCurrentIndex(1); // descriptions
    form->findChild<QComboBox*>(u"cboFileAreas"_s)->setCurrentIndex(second);
    search(form, u"AGAIN"_s);
    EXPECT_EQ(names(form), (QStringList { u"DOOM2.ZIP"_s }));
    EXPECT_FALSE(form->searching());

    // Exit in the middle of a search: the search stops, and one Exit is enough.
    form->findChild<QComboBox*>(u"cboFileAreas"_s)->setCurrentIndex(0);
    port.script.eventTurns = 0;
    port.script.onEvents = [&](int turn) {
        if (turn == 1)
            frame->findChild<QAction*>(u"mnuExit"_s)->trigger();
    };
    search(form, u"doom"_s);
    for (int turn = 0; turn < 20 && frame->isVisible(); ++turn) {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
    }
    EXPECT_FALSE(frame->isVisible());
}

} // namespace
} // namespace Kelvane::Testing
