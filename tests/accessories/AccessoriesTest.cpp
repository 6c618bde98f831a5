#include "accessories/Accessories.h"

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

TEST(Accessories, BoxesCloseWithOkOrEscape)
{
    const struct
    {
        std::function<QDialog*()> make;
        QString name;
        QString caption;
        Qt::Key key; // Qt::Key_unknown: click OK
    } cases[] = {
        { [] { return new AboutBox; }, u"frmAbout"_s, u"About Kelvane"_s, Qt::Key_unknown },
        { [] { return new AboutBox; }, u"frmAbout"_s, u"About Kelvane"_s, Qt::Key_Escape },
        { [] { return new TechSupportBox; }, u"frmTechSupport"_s, u"Technical Support Info"_s, Qt::Key_unknown },
        { [] { return new TechSupportBox; }, u"frmTechSupport"_s, u"Technical Support Info"_s, Qt::Key_Escape },
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name.toStdString());
        const std::unique_ptr<QDialog> box(each.make());
        box->show();
        EXPECT_EQ(box->objectName(), each.name);
        EXPECT_EQ(box->windowTitle(), each.caption);
        auto* ok = box->findChild<QPushButton*>(u"cmdOK"_s);
        ASSERT_NE(ok, nullptr);
        if (each.key == Qt::Key_unknown)
            QTest::mouseClick(ok, Qt::LeftButton);
        else
            QTest::keyClick(box.get(), each.key);
        EXPECT_FALSE(box->isVisible());
    }
}

TEST(Accessories, AboutShowsNameAndVersion)
{
    AboutBox box;
    QStringList texts;
    for (const QLabel* label : box.findChildren<QLabel*>())
        texts << label->text();
    const QString all = texts.join(u'\n');
    EXPECT_TRUE(all.contains(u"Kelvane"_s));
    EXPECT_TRUE(all.contains(u"2.0.0"_s));
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
}

TEST(Accessories, SplashStaysForItsTimeAndIsGone)
{
    QElapsedTimer timer;
    timer.start();
    showSplash(std::chrono::milliseconds(120));
    EXPECT_GE(timer.elapsed(), 120);
    for (const QWidget* widget : QApplication::topLevelWidgets())
        EXPECT_NE(widget->objectName(), u"frmSplash"_s);
}
