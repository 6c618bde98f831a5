#include "shell/OperationsHost.h"

#include "editor/EntryTable.h"
#include "shell/SortViewForm.h"

namespace Kelvane::Testing {
namespace {

const QString ReadyText = u"Click Title Column Bar above to sort that area"_s;

class SortViewFormTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        host.session().area.AreaTitle = "Uploads";
        table.reset(threeEntries());
        form = std::make_unique<SortViewForm>(host, table);
        form->show();
        view = form->findChild<QTableView*>(u"lsvEditFileArea"_s);
        ASSERT_NE(view, nullptr);
    }

    static EntryList threeEntries()
    {
        return {
            { "BETA.ZIP", " 300", "02-01-97", "Second\r\n" },
            { "alpha.txt", " 20", "03-15-96", "First\r\nline two\r\n" },
            { "GAMMA.EXE", " 1000", "12-31-95", "Third\r\n" },
        };
    }

    void clickHeading(int column)
    {
        QHeaderView* header = view->horizontalHeader();
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                          QPoint(header->sectionViewportPosition(column) + 5, 5));
    }

    QStringList shownColumn(int column) const
    {
        QStringList cells;
        for (int row = 0; row < view->model()->rowCount(); ++row)
            cells.append(view->model()->index(row, column).data().toString());
        return cells;
    }

    QString status() const { return form->findChild<QLabel*>(u"sbStatBarSortPane1"_s)->text(); }

    QStringList tableNames() const
    {
        QStringList names;
        for (const Entry& entry : table.entries())
            names.append(QString::fromStdString(entry.FileName));
        return names;
    }

    OperationsHost host;
    EntryTable table;
    std::unique_ptr<SortViewForm> form;
    QTableView* view = nullptr;
};

// One click on each heading in turn, from a fresh start (toggle false): each flips the
// shared toggle, so sizes go up, then down, names down, dates down; descriptions never sort.
TEST_F(SortViewFormTest, HeadingClicksSortByTheSharedToggle)
{
    const QString alpha = u"alpha.txt"_s, beta = u"BETA.ZIP"_s, gamma = u"GAMMA.EXE"_s;
    const std::vector<std::tuple<int, QStringList, QString>> clicks = {
        { 1, { alpha, beta, gamma }, u"Last Item Sorted: File Size"_s },
        { 1, { gamma, beta, alpha }, u"Last Item Sorted: File Size"_s },
        { 0, { gamma, beta, alpha }, u"Last Item Sorted: File Name"_s },
        { 2, { beta, alpha, gamma }, u"Last Item Sorted: File Date"_s },
        { 3, { beta, alpha, gamma }, u"Can not Sort File Descriptions!"_s },
    };
    EXPECT_EQ(status(), ReadyText);
    EXPECT_FALSE(host.session().ChangesMade);
    for (const auto& [column, names, text] : clicks) {
        SCOPED_TRACE(column);
        clickHeading(column);
        EXPECT_EQ(shownColumn(0), names);
        EXPECT_EQ(status(), text);
    }
    EXPECT_EQ(tableNames(), (QStringList { beta, alpha, gamma })) << "only the shown order changes until it closes";
    EXPECT_TRUE(host.session().ChangesMade);
    EXPECT_EQ(shownColumn(3), (QStringList { u"Second"_s, u"First | line two"_s, u"Third"_s }));
}

TEST_F(SortViewFormTest, EveryWayOfClosingWritesTheShownOrderBack)
{
    const std::vector<std::pair<const char*, std::function<void()>>> closings = {
        { "cmdClose", [&] { QTest::mouseClick(form->findChild<QPushButton*>(u"cmdClose"_s), Qt::LeftButton); } },
        { "mnuClose", [&] { form->findChild<QAction*>(u"mnuClose"_s)->trigger(); } },
        { "Escape", [&] { QTest::keyClick(view, Qt::Key_Escape); } },
        { "window close", [&] { form->close(); } },
    };
    const std::string longDescription = std::string(1100, 'd');
    for (const auto& [what, close] : closings) {
        SCOPED_TRACE(what);
        table.reset({ { "B", " 2", "01-01-96", longDescription }, { "A", " 1", "01-01-96", "One   " } });
        table.setSelected(0, true);
        host.session().SortToggle = false;
        form->show();
        form->findChild<QAction*>(u"mnuFileSize"_s)->trigger();
        EXPECT_EQ(tableNames(), (QStringList { u"B"_s, u"A"_s }));
        close();
        EXPECT_FALSE(form->isVisible());
        EXPECT_TRUE(view->isHidden());
        EXPECT_EQ(tableNames(), (QStringList { u"A"_s, u"B"_s }));
        EXPECT_EQ(table.at(0).Description, "One");
        EXPECT_EQ(table.at(1).Description, std::string(1023, 'd'));
        EXPECT_FALSE(table.anySelected());
        EXPECT_EQ(status(), ReadyText);
        EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    }
}

TEST_F(SortViewFormTest, FollowsTheEntriesBetweenOpeningsAndOffersItsMenuAndHelp)
{
    EXPECT_EQ(host.statusText, u"Loading Uploads, Please wait..."_s);
    EXPECT_EQ(form->windowTitle(), u"Sort File Area: Uploads"_s);
    clickHeading(1);
    form->reject();
    table.append({ "DELTA", " 5", "01-01-99", "" });
    form->show();
    ASSERT_EQ(view->model()->rowCount(), 4);
    EXPECT_EQ(shownColumn(0).last(), u"DELTA"_s);
    table.removeIf([](std::size_t index) { return index < 2; });
    EXPECT_EQ(shownColumn(0), (QStringList { u"GAMMA.EXE"_s, u"DELTA"_s }));

    // The right button, F1 and About.
    auto* menu = form->findChild<QMenu*>(u"mnuFile"_s);
    ASSERT_NE(menu, nullptr);
    for (QWidget* target : { static_cast<QWidget*>(form.get()), view->viewport() }) {
        QContextMenuEvent click(QContextMenuEvent::Mouse, QPoint(10, 10), target->mapToGlobal(QPoint(10, 10)));
        QApplication::sendEvent(target, &click);
        EXPECT_TRUE(menu->isVisible());
        menu->close();
    }
    QApplication::setActiveWindow(form.get());
    QTest::keyClick(view, Qt::Key_F1);
    form->findChild<QAction*>(u"mnuHelpAbout"_s)->trigger();
    EXPECT_EQ(host.help, (QStringList { u"Sorting"_s, u"About"_s }));
}

} // namespace
} // namespace Kelvane::Testing
