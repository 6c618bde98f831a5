#include "shell/FileAreaTitlesForm.h"
#include "shell/MoveFileTitlesForm.h"

#include "FakeFrameHost.h"
#include "support/ScriptedPort.h"

namespace Kelvane::Testing {
namespace {

class ChooserTest : public ::testing::Test
{
protected:
    void addAreas(std::initializer_list<std::string> titles)
    {
        for (const std::string& title : titles) {
            AreaRecord record = board.simpleRecord("area" + std::to_string(++m_areas));
            record.title = title;
            TestBoard::writeFile(record.filesList, {});
            board.addArea(record);
        }
    }
    template <typename T> T* child(QWidget* form, const QString& name) { return form->findChild<T*>(name); }
    QListView* icons(QWidget* form)
    {
        return child<QListView>(form, form->findChild<QStackedWidget*>()->objectName() + u"Icons"_s);
    }

    int m_areas = 0;
    TestBoard board;
    ScriptedPort port;
    FakeFrameHost host { board, port };
};

TEST_F(ChooserTest, BothChoosersStartWithDefaultsAndKeepWhatWasSaved)
{
    const std::function<AreaListForm*()> makers[]
        = { [this] { return new FileAreaTitlesForm(host); }, [this] { return new MoveFileTitlesForm(host); } };
    const AreaListKeys keySets[] = { AreaListKeys::fileAreaTitles(), AreaListKeys::moveFileTitles() };
    for (int kind = 0; kind < 2; ++kind) {
        const AreaListKeys& keys = keySets[kind];
        SCOPED_TRACE(keys.view.toStdString());
        QPointer<AreaListForm> first = makers[kind]();
        EXPECT_EQ(first->view(), AreaListForm::LargeIcons);
        EXPECT_EQ(first->arrangement(), AreaListForm::ArrangeNone);
        EXPECT_TRUE(child<QAction>(first, u"mnuLargeIcons"_s)->isChecked());
        EXPECT_TRUE(child<QAction>(first, u"mnuArrangeNone"_s)->isChecked());
        EXPECT_EQ(first->columnWidthTwips(0), 1440);
        EXPECT_EQ(first->columnWidthTwips(1), 720);
        child<QAction>(first, u"mnuDetails"_s)->trigger();
        child<QAction>(first, u"mnuArrangeTop"_s)->trigger();
        first->setColumnWidthTwips(0, 2880);
        first->setColumnWidthTwips(1, 1080);
        first->saveSettings();
        EXPECT_EQ(host.setting(keys.view), u"3"_s);
        EXPECT_EQ(host.setting(keys.arrange), u"2"_s);
        EXPECT_EQ(host.setting(keys.column1Width), u"2880"_s);
        EXPECT_EQ(host.setting(keys.column2Width), u"1080"_s);
        EXPECT_EQ(host.setting(keys.windowState), u"0"_s);
        // The frame's help items, each handed to the frame.
        host.help.clear();
        for (const char16_t* item : { u"mnuHelpContents", u"mnuHelpSearch", u"mnuHelpAbout", u"mnuTechSupportInfo" }) {
            if (QAction* action = child<QAction>(first, QString::fromUtf16(item)))
                action->trigger();
        }
        EXPECT_EQ(host.help, QStringList({ u"Contents"_s, u"Search"_s, u"About"_s, u"TechSupport"_s }));
        first->unload();
        host.settings().saveInt(u"Kelvane Startup"_s, keys.windowState, AreaListForm::Maximized);

        QPointer<AreaListForm> second = makers[kind]();
        second->showInFrame();
        EXPECT_EQ(second->view(), AreaListForm::Details);
        EXPECT_EQ(second->arrangement(), AreaListForm::ArrangeTop);
        EXPECT_TRUE(child<QAction>(second, u"mnuDetails"_s)->isChecked());
        EXPECT_TRUE(child<QAction>(second, u"mnuArrangeTop"_s)->isChecked());
        EXPECT_EQ(second->columnWidthTwips(0), 2880);
        EXPECT_EQ(second->columnWidthTwips(1), 1080);
        EXPECT_EQ(second->windowStateCode(), AreaListForm::Maximized);
        second->unload();
        deleteClosedForms();
        EXPECT_TRUE(first.isNull() && second.isNull());
    }
}

TEST_F(ChooserTest, RowsAreTheTitlesEveryWayOutClosesTheChooserAndOnlyOkEnterAndDoubleClickOpen)
{
    QPointer<AreaListForm> empty = new FileAreaTitlesForm(host);
    empty->showInFrame();
    EXPECT_EQ(icons(empty)->model()->rowCount(), 0);
    QTest::mouseClick(child<QPushButton>(empty, u"cmdOK"_s), Qt::LeftButton);
    QTest::keyClick(icons(empty), Qt::Key_Return);
    deleteClosedForms();
    ASSERT_FALSE(empty.isNull());
    EXPECT_TRUE(host.openedTitles.isEmpty());
    empty->unload();

    addAreas({ "Games", "Caf\xE9 Utilities", "Text Files" });
    auto* form = new FileAreaTitlesForm(host);
    const QAbstractItemModel* model = icons(form)->model();
    ASSERT_EQ(model->rowCount(), 3);
    EXPECT_EQ(form->titles(), QStringList({ u"Games"_s, u"Café Utilities"_s, u"Text Files"_s }));
    EXPECT_EQ(model->data(model->index(2, 1)).toString(), u" 3"_s);
    EXPECT_EQ(model->headerData(0, Qt::Horizontal).toString(), u"File Area Names"_s);
    EXPECT_EQ(model->headerData(1, Qt::Horizontal).toString(), u"Record #"_s);
    EXPECT_EQ(form->selectedRow(), 0);
    EXPECT_EQ(host.session().area.AreaNumber, 4); // the count + 1 until OK sets it
    form->unload();

    // The first three open the area.
    const std::function<void(AreaListForm*)> gestures[] = {
        [this](AreaListForm* form) {
            form->selectRow(1);
            QTest::mouseClick(child<QPushButton>(form, u"cmdOK"_s), Qt::LeftButton);
        },
        [this](AreaListForm* form) {
            form->selectRow(1);
            QTest::keyClick(icons(form), Qt::Key_Return);
        },
        [this](AreaListForm* form) {
            QListView* view = icons(form);
            const QPoint row = view->visualRect(view->model()->index(1, 0)).center();
            QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, row);
            QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, row);
        },
        [this](QWidget* form) { QTest::mouseClick(child<QPushButton>(form, u"cmdCancel"_s), Qt::LeftButton); },
        [this](QWidget* form) { QTest::keyClick(icons(form), Qt::Key_Escape); },
        [this](QWidget* form) { child<QAction>(form, u"mnuClose"_s)->trigger(); },
    };
    for (std::size_t gesture = 0; gesture < std::size(gestures); ++gesture) {
        SCOPED_TRACE(gesture);
        const bool opens = gesture < 3;
        host.openedTitles.clear();
        host.openFileAreasEnabled = false;
        QPointer<AreaListForm> form = new FileAreaTitlesForm(host);
        form->showInFrame();
        gestures[gesture](form);
        deleteClosedForms();
        EXPECT_TRUE(form.isNull());
        EXPECT_TRUE(host.openFileAreasEnabled);
        if (!opens) {
            EXPECT_TRUE(host.openedTitles.isEmpty());
            continue;
        }
        EXPECT_EQ(host.areaBox, QStringList({ u"Games"_s, u"Café Utilities"_s, u"Text Files"_s }));
        EXPECT_EQ(host.areaBoxChosen, 1);
        EXPECT_EQ(host.openedTitles, QStringList { u"Café Utilities"_s });
        EXPECT_EQ(host.session().area.AreaNumber, 2);
        EXPECT_EQ(host.session().area.AreaTitle, "Caf\xE9 Utilities");
        EXPECT_TRUE(host.statusText.isEmpty());
        EXPECT_EQ(host.setting(u"FileAreaTitle_View"_s), u"0"_s); // OK saved the look
    }
}

TEST_F(ChooserTest, MoveChooserRefusesAnUnfitTargetAndAcceptsAFitOne)
{
    addAreas({ "Games", "Utilities" });
    const std::pair<int, const char*> cases[] = { { 0, "NoMoveSameFileArea" }, { 1, nullptr } };
    for (const auto& [row, alert] : cases) { // no alert: accepted
        SCOPED_TRACE(row);
        QPointer<MoveFileTitlesForm> form = new MoveFileTitlesForm(host);
        form->showInFrame();
        host.session().area.AreaNumber = 1; // the editor has area 1 open
        int accepted = 0;
        int closed = 0;
        QObject::connect(form, &MoveFileTitlesForm::moveAccepted, form, [&] { ++accepted; });
        QObject::connect(form, &MoveFileTitlesForm::closed, form, [&] { ++closed; });
        if (alert)
            port.expectAlert(alert);
        form->selectRow(row);
        QTest::mouseClick(child<QPushButton>(form, u"cmdOK"_s), Qt::LeftButton);
        EXPECT_TRUE(port.done());
        EXPECT_EQ(accepted, alert ? 0 : 1);
        EXPECT_EQ(form->isVisible(), alert != nullptr);
        EXPECT_EQ(host.session().target.TargetAreaNumber, alert ? 0 : 2);
        EXPECT_EQ(host.setting(u"MoveFileTitles_View"_s), u"0"_s);
        form->unload(); // the editor closes the chooser once the move is done
        deleteClosedForms();
        EXPECT_TRUE(form.isNull());
        EXPECT_EQ(closed, 1);
        EXPECT_EQ(host.session().target.TargetAreaNumber, 0);
    }
}

} // namespace
} // namespace Kelvane::Testing
