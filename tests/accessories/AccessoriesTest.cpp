#include "accessories/Accessories.h"
#include "accessories/AviFiles.h"
#include "accessories/HelpWindow.h"
#include "platform/FileNames.h"
#include "support/TestBoard.h"

#include <QtTest>
#include <QtWidgets>

namespace Kelvane::Testing {
namespace {

TEST(Accessories, BoxesShowWhoTheyAreCloseWithOkOrEscapeAndSupportInfoNamesTheFacts)
{
    const std::tuple<std::function<QDialog*()>, QString, QString> cases[] = {
        { [] { return new AboutBox; }, u"frmAbout"_s, u"About Kelvane"_s },
        { [] { return new TechSupportBox; }, u"frmTechSupport"_s, u"Technical Support Info"_s },
    };
    for (const auto& [make, name, caption] : cases) {
        for (const bool escape : { false, true }) {
            SCOPED_TRACE(name.toStdString() + (escape ? " Escape" : " OK"));
            const std::unique_ptr<QDialog> box(make());
            box->show();
            EXPECT_EQ(box->objectName(), name);
            EXPECT_EQ(box->windowTitle(), caption);
            auto* ok = box->findChild<QPushButton*>(u"cmdOK"_s);
            ASSERT_NE(ok, nullptr);
            if (escape)
                QTest::keyClick(box.get(), Qt::Key_Escape);
            else
                QTest::mouseClick(ok, Qt::LeftButton);
            EXPECT_FALSE(box->isVisible());
        }
    }
    // The About box names the program and its version.
    AboutBox about;
    QStringList texts;
    for (const QLabel* label : about.findChildren<QLabel*>())
        texts << label->text();
    EXPECT_TRUE(texts.join(u'\n').contains(u"Kelvane"_s));
    EXPECT_TRUE(texts.join(u'\n').contains(u"2.0.0"_s));

    // The support information names the facts and copies them.
    QTemporaryDir home;
    qputenv("KELVANE_HOME", home.path().toLocal8Bit());
    TechSupportBox box;
    qunsetenv("KELVANE_HOME");
    const QString text = box.findChild<QPlainTextEdit*>()->toPlainText();
    for (const QString& fact : { QString::fromLatin1(qVersion()), u"2.0.0"_s, home.path(), u"Kelvane.err"_s })
        EXPECT_TRUE(text.contains(fact)) << fact.toStdString();

    QTest::mouseClick(box.findChild<QPushButton*>(u"cmdCopy"_s), Qt::LeftButton);
    EXPECT_EQ(QApplication::clipboard()->text(), text);

    // Without KELVANE_HOME, the program's directory is the application's data directory.
    const QString name = QCoreApplication::applicationName();
    QCoreApplication::setApplicationName(u"Kelvane"_s);
    qputenv("XDG_DATA_HOME", home.path().toLocal8Bit());
    TechSupportBox fallback;
    qunsetenv("XDG_DATA_HOME");
    QCoreApplication::setApplicationName(name);
    EXPECT_TRUE(fallback.findChild<QPlainTextEdit*>()->toPlainText().contains(home.path() + u"/Kelvane\n"_s));
}

TEST(Accessories, SplashStaysForItsTimeUntilTheFrameIsShown)
{
    const auto splashShown = [] {
        for (const QWidget* widget : QApplication::topLevelWidgets()) {
            if (widget->objectName() == u"frmSplash"_s && widget->isVisible())
                return true;
        }
        return false;
    };
    QElapsedTimer timer;
    timer.start();
    bool shownOverTheFrame = false;
    showSplash(std::chrono::milliseconds(120), [&] {
        EXPECT_GE(timer.elapsed(), 120);
        shownOverTheFrame = splashShown();
    });
    EXPECT_TRUE(shownOverTheFrame) << "the screen must never be empty between splash and frame";
    EXPECT_FALSE(splashShown());
}

TEST(Accessories, NoDisplayNameIsSetForThePlatformToAppendToTitles)
{
    const QString name = QCoreApplication::applicationName();
    setApplicationIdentity();
    EXPECT_EQ(QCoreApplication::applicationName(), u"Kelvane"_s);
    // A display name that was never set follows the application's name; one that was set
    // stays, and X11 and Wayland windows then show it after every title.
    QCoreApplication::setApplicationName(u"probe"_s);
    EXPECT_EQ(QGuiApplication::applicationDisplayName(), u"probe"_s);
    QCoreApplication::setApplicationName(name);
}

TEST(Accessories, TheProgramDirectoryIsFilledOnTheFirstStartOnly)
{
    QTemporaryDir temporary;
    const fs::path home = pathFromUnicode(temporary.path()) / "Kelvane";
    const auto present = [&] {
        QStringList found;
        for (Animation animation : { Animation::FindFile, Animation::Search, Animation::FileMove }) {
            if (const auto file = findAnimation(home, animation))
                found << fileNameText(*file);
        }
        if (findEntry(home, HelpWindow::fileName(), EntryKind::File))
            found << u"help"_s;
        return found.join(u' ');
    };
    // The command line makes the directory for its error log alone: still a first start.
    fs::create_directories(home);
    setUpProgramDirectory(home);
    EXPECT_EQ(present(), u"FINDFILE.AVI SEARCH.AVI FILEMOVE.AVI help"_s);

    // What the operator deletes stays deleted; names in another case still count.
    fs::remove(home / "kelvane_help.html");
    fs::remove(home / "AVI" / "SEARCH.AVI");
    fs::rename(home / "AVI" / "FILEMOVE.AVI", home / "AVI" / "filemove.avi");
    fs::rename(home / "AVI", home / "avi");
    setUpProgramDirectory(home);
    EXPECT_EQ(present(), u"FINDFILE.AVI filemove.avi"_s);
}

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

TEST(HelpWindow, TopicsAreFoundByTitleAnchorContextNumberTheListOrASearchForEveryWord)
{
    const std::tuple<QString, int, QString> cases[] = {
        { u"Sorting"_s, 0, u"Sorting"_s },
        { u"  sorting "_s, 0, u"Sorting"_s },
        { u"SELECTINGFILES"_s, 0, u"SelectingFiles"_s },
        { u"selecting files"_s, 0, u"SelectingFiles"_s },
        { u"No such topic"_s, 0, u"Contents"_s },
        { QString(), 13, u"SelectingFiles"_s },
        { QString(), 9, u"Sorting"_s },
        { QString(), 999, u"Contents"_s },
    };
    HelpWindow window;
    ASSERT_TRUE(window.open(BuiltInHelp));
    for (const auto& [name, context, topic] : cases) {
        SCOPED_TRACE((name + u'/' + QString::number(context)).toStdString());
        window.showTopic(u"Welcome"_s);
        if (context == 0)
            window.showTopic(name);
        else
            window.showContext(context);
        EXPECT_EQ(window.currentTopic(), topic);
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
    QTest::keyClick(&window, Qt::Key_Escape);
    EXPECT_FALSE(window.isVisible());

    // The search keeps the topics that hold every word.
    window.showSearch();
    auto* search = window.findChild<QLineEdit*>();
    const int all = list->count();
    ASSERT_GT(all, 10);

    QTest::keyClicks(search, u"Archive DESCRIPTION"_s);
    const QStringList kept = visibleTitles(*list);
    EXPECT_GT(kept.size(), 0);
    EXPECT_LT(kept.size(), all);
    EXPECT_TRUE(kept.contains(u"Read DIZ (archive descriptions)"_s));
    EXPECT_TRUE(kept.contains(u"File Scan (new files)"_s));
    EXPECT_FALSE(kept.contains(u"Sorting"_s));
    // The topic on show moves to one that holds the words.
    EXPECT_TRUE(window.currentTopic() == u"ReadDiz"_s || window.currentTopic() == u"FileScan"_s);

    search->clear();
    QTest::keyClicks(search, u"zebra"_s);
    EXPECT_TRUE(visibleTitles(*list).isEmpty());
    search->clear();
    EXPECT_EQ(visibleTitles(*list).size(), all);
}

} // namespace
} // namespace Kelvane::Testing
