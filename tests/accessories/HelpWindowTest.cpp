#include "accessories/HelpWindow.h"

#include <QLineEdit>
#include <QListWidget>
#include <QTest>
#include <QTextBrowser>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace Kelvane;

namespace {

const QString BuiltInHelp = u":/help/kelvane_help.html"_s;

QStringList visibleTitles(const QListWidget& list)
{
    QStringList titles;
    for (int row = 0; row < list.count(); ++row) {
        if (!list.item(row)->isHidden())
            titles << list.item(row)->text();
    }
    return titles;
}

} // namespace

TEST(HelpWindow, TopicsAreFoundByTitleAnchorContextNumberOrTheList)
{
    const struct
    {
        QString name;
        int context;
        QString topic;
    } cases[] = {
        { u"Sorting"_s, 0, u"Sorting"_s },
        { u"  sorting "_s, 0, u"Sorting"_s },
        { u"SELECTINGFILES"_s, 0, u"SelectingFiles"_s },
        { u"selecting files"_s, 0, u"SelectingFiles"_s },
        { u"No such topic"_s, 0, u"Contents"_s },
        { {}, 13, u"SelectingFiles"_s },
        { {}, 9, u"Sorting"_s },
        { {}, 999, u"Contents"_s },
    };
    HelpWindow window;
    ASSERT_TRUE(window.open(BuiltInHelp));
    for (const auto& each : cases) {
        SCOPED_TRACE((each.name + u'/' + QString::number(each.context)).toStdString());
        window.showTopic(u"Welcome"_s);
        if (each.context == 0)
            window.showTopic(each.name);
        else
            window.showContext(each.context);
        EXPECT_EQ(window.currentTopic(), each.topic);
        EXPECT_TRUE(window.isVisible());
    }

    window.showTopic(u"Sorting"_s);
    const auto* browser = window.findChild<QTextBrowser*>();
    auto* list = window.findChild<QListWidget*>();
    EXPECT_TRUE(browser->toPlainText().contains(u"Sort Files"_s));
    ASSERT_NE(list->currentItem(), nullptr);
    EXPECT_EQ(list->currentItem()->text(), u"Sorting"_s);

    // The contents links every topic.
    window.showContents();
    EXPECT_TRUE(browser->toPlainText().contains(u"Selecting files"_s));
    EXPECT_EQ(list->currentItem(), nullptr);

    // Choosing a topic in the list shows it.
    const QList<QListWidgetItem*> found = list->findItems(u"Moving files"_s, Qt::MatchExactly);
    ASSERT_EQ(found.size(), 1);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(found.front()).center());
    EXPECT_EQ(window.currentTopic(), u"MoveFiles"_s);
}

TEST(HelpWindow, SearchKeepsTheTopicsHoldingEveryWord)
{
    HelpWindow window;
    ASSERT_TRUE(window.open(BuiltInHelp));
    window.showSearch();
    auto* search = window.findChild<QLineEdit*>();
    auto* list = window.findChild<QListWidget*>();
    const int all = list->count();
    ASSERT_GT(all, 10);

    QTest::keyClicks(search, u"Archive DESCRIPTION"_s);
    const QStringList found = visibleTitles(*list);
    EXPECT_GT(found.size(), 0);
    EXPECT_LT(found.size(), all);
    EXPECT_TRUE(found.contains(u"Read DIZ (archive descriptions)"_s));
    EXPECT_TRUE(found.contains(u"File Scan (new files)"_s));
    EXPECT_FALSE(found.contains(u"Sorting"_s));
    // The topic on show moves to one that holds the words.
    EXPECT_TRUE(window.currentTopic() == u"ReadDiz"_s || window.currentTopic() == u"FileScan"_s);

    search->clear();
    QTest::keyClicks(search, u"zebra"_s);
    EXPECT_TRUE(visibleTitles(*list).isEmpty());
    search->clear();
    EXPECT_EQ(visibleTitles(*list).size(), all);
}

TEST(HelpWindow, TheProgramHasOneTopLevelHelpWindow)
{
    HelpWindow& window = HelpWindow::instance();
    EXPECT_EQ(&window, &HelpWindow::instance());
    EXPECT_EQ(window.objectName(), u"frmHelp"_s);
    EXPECT_TRUE(window.isWindow());
    window.showTopic(u"Sorting"_s);
    QTest::keyClick(&window, Qt::Key_Escape);
    EXPECT_FALSE(window.isVisible());
}
