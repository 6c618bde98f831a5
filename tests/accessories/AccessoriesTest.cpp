#include "accessories/Accessories.h"
#include "accessories/AviFiles.h"
#include "accessories/HelpWindow.h"
#include "platform/FileNames.h"

#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <functional>
#include <gtest/gtest.h>
#include <memory>

using namespace Qt::StringLiterals;
using namespace Kelvane;

TEST(Accessories, BoxesShowWhoTheyAreAndCloseWithOkOrEscape)
{
    const struct
    {
        std::function<QDialog*()> make;
        QString name;
        QString caption;
    } cases[] = {
        { [] { return new AboutBox; }, u"frmAbout"_s, u"About Kelvane"_s },
        { [] { return new TechSupportBox; }, u"frmTechSupport"_s, u"Technical Support Info"_s },
    };
    for (const auto& each : cases) {
        for (const bool escape : { false, true }) {
            SCOPED_TRACE(each.name.toStdString() + (escape ? " Escape" : " OK"));
            const std::unique_ptr<QDialog> box(each.make());
            box->show();
            EXPECT_EQ(box->objectName(), each.name);
            EXPECT_EQ(box->windowTitle(), each.caption);
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
}

TEST(Accessories, SupportInfoNamesTheFactsAndCopiesThem)
{
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
    namespace fs = std::filesystem;
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
