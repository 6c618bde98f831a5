#include "shell/OptionsForm.h"

#include "FakeFrameHost.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"
#include "support/ScriptedPort.h"

namespace Kelvane::Testing {
namespace {

class OptionsTest : public ::testing::Test
{
protected:
    OptionsForm* open()
    {
        m_form = std::make_unique<OptionsForm>(host);
        m_form->show();
        return m_form.get();
    }
    template <typename T> T* child(QWidget* form, const QString& name) { return form->findChild<T*>(name); }
    void type(QWidget* form, const QString& text)
    {
        auto* box = child<QLineEdit>(form, u"txtMainNode"_s);
        box->clear();
        QTest::keyClicks(box, text);
    }
    QString mainNodePath() { return unicodeFromPath(host.session().area.MainNodePath); }

    TestBoard board;
    ScriptedPort port;
    FakeFrameHost host { board, port };
    std::unique_ptr<OptionsForm> m_form;
};

TEST_F(OptionsTest, AMainNodeIsStoredWithoutItsLastSeparatorWhateverTheCaseOfItsNames)
{
    const fs::path otherCase = board.root() / "other";
    fs::create_directories(otherCase / "mwork" / "FAREA.DAT"); // a folder of that name counts
    const QString node = unicodeFromPath(board.mainNode());
    const QString other = unicodeFromPath(otherCase);
    for (const auto& [typed, stored] :
         { std::pair { node + u'\\', node }, std::pair { node + u'/', node }, std::pair { other, other } }) {
        OptionsForm* form = open();
        type(form, typed);
        ASSERT_TRUE(child<QPushButton>(form, u"cmdApply"_s)->isEnabled());
        QTest::mouseClick(child<QPushButton>(form, u"cmdApply"_s), Qt::LeftButton);
        EXPECT_EQ(mainNodePath(), stored);
        EXPECT_EQ(host.setting(u"Vandor Main Path"_s, u"Vandor Startup"_s), stored);
        EXPECT_FALSE(child<QPushButton>(form, u"cmdApply"_s)->isEnabled());
    }
}

TEST_F(OptionsTest, AFolderWithoutTheAreaRecordFileIsRefusedBrowseFillsTheBoxAndEscapeSavesNothing)
{
    const QString empty = unicodeFromPath(board.root() / "empty");
    QDir().mkpath(empty);
    const QString tested = (empty + QDir::separator() + u"MWORK"_s + QDir::separator() + u"FAREA.DAT"_s).toUpper();
    port.expect({ u"Kelvane"_s,
                  u"Can Not find the Path to the needed file \r"_s + tested + u"\rPlease select another folder!"_s,
                  Buttons::Ok, Icon::Critical });
    const QString before = mainNodePath();
    OptionsForm* form = open();
    type(form, empty);
    QTest::mouseClick(child<QPushButton>(form, u"cmdOK"_s), Qt::LeftButton);
    EXPECT_TRUE(form->isVisible()); // open still, for another choice
    auto* box = child<QLineEdit>(form, u"txtMainNode"_s);
    auto* apply = child<QPushButton>(form, u"cmdApply"_s);
    EXPECT_TRUE(box->text().isEmpty());
    EXPECT_FALSE(apply->isEnabled());

    port.setFolder(u"/srv/elsewhere"_s);
    QTest::mouseClick(child<QPushButton>(form, u"cmdBrowseForFolder"_s), Qt::LeftButton);
    EXPECT_EQ(box->text(), u"/srv/elsewhere"_s);
    EXPECT_TRUE(apply->isEnabled());
    port.setFolder({}); // the browser cancelled
    QTest::mouseClick(child<QPushButton>(form, u"cmdBrowseForFolder"_s), Qt::LeftButton);
    EXPECT_EQ(box->text(), QString());
    port.expectContaining(u"Kelvane"_s, u"Can Not find the Path to the needed file "_s);
    QTest::mouseClick(apply, Qt::LeftButton);
    EXPECT_TRUE(port.done());
    QTest::keyClick(form, Qt::Key_Escape);
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(form->result(), QDialog::Rejected);
    EXPECT_EQ(mainNodePath(), before);
    EXPECT_TRUE(host.setting(u"Vandor Main Path"_s, u"Vandor Startup"_s).isEmpty());
}

TEST_F(OptionsTest, StartStateAndRealFileDatesAreReadOnLoadAndWrittenByOk)
{
    const std::tuple<QString, QString, bool, bool> cases[]
        = { { u"0"_s, u"False"_s, false, false }, { u"2"_s, u"True"_s, true, true }, { u"1"_s, u"-1"_s, false, true } };
    for (const auto& [storedState, storedDates, maximized, realDates] : cases) {
        host.settings().SaveSetting(u"Kelvane Startup"_s, u"MainWindowState"_s, storedState);
        host.settings().SaveSetting(u"Kelvane Startup"_s, u"RealFileDates"_s, storedDates);
        host.session().RealFileDates = false; // nothing reads the store before Options opens
        OptionsForm* form = open();
        EXPECT_EQ(host.session().RealFileDates, realDates);
        EXPECT_EQ(child<QCheckBox>(form, u"Check1"_s)->isChecked(), maximized);
        EXPECT_EQ(child<QCheckBox>(form, u"Check2"_s)->isChecked(), realDates);
        EXPECT_FALSE(child<QPushButton>(form, u"cmdApply"_s)->isEnabled());
        QTest::keyClick(child<QCheckBox>(form, u"Check1"_s), Qt::Key_Space);
        QTest::keyClick(child<QCheckBox>(form, u"Check2"_s), Qt::Key_Space);
        EXPECT_TRUE(child<QPushButton>(form, u"cmdApply"_s)->isEnabled());
        QTest::keyClick(child<QLineEdit>(form, u"txtMainNode"_s), Qt::Key_Return);
        EXPECT_FALSE(form->isVisible());
        EXPECT_EQ(form->result(), QDialog::Accepted);
        EXPECT_EQ(host.setting(u"MainWindowState"_s), maximized ? u"0"_s : u"2"_s);
        EXPECT_EQ(host.setting(u"RealFileDates"_s), realDates ? u"False"_s : u"True"_s);
        EXPECT_EQ(host.session().RealFileDates, !realDates);
    }
}

TEST_F(OptionsTest, ResetMovesTheFrameAndItsPlacementIsSavedByTheNextApplyOnly)
{
    host.settings().saveInt(u"Kelvane Startup"_s, u"MainWindowState"_s, 2);
    OptionsForm* form = open();
    QTest::mouseClick(child<QPushButton>(form, u"cmdReset"_s), Qt::LeftButton);
    EXPECT_EQ(host.resets, 1);
    EXPECT_FALSE(child<QCheckBox>(form, u"Check1"_s)->isChecked());
    EXPECT_EQ(host.placementSaves, 0);
    QTest::mouseClick(child<QPushButton>(form, u"cmdApply"_s), Qt::LeftButton);
    EXPECT_EQ(host.placementSaves, 1);
    EXPECT_EQ(host.setting(u"MainWindowState"_s), u"0"_s);
    QTest::keyClick(child<QCheckBox>(form, u"Check2"_s), Qt::Key_Space);
    QTest::mouseClick(child<QPushButton>(form, u"cmdApply"_s), Qt::LeftButton);
    EXPECT_EQ(host.placementSaves, 1);
}

TEST_F(OptionsTest, TheCodePageChangesOnlyWhileNoAreaIsOpen)
{
    for (const int areaNumber : { 2, 0 }) {
        host.editorOpen = areaNumber != 0;
        host.session().setCodePage(CodePage::windows1252());
        OptionsForm* form = open();
        auto* pages = child<QComboBox>(form, u"cboCodePage"_s);
        EXPECT_EQ(pages->currentText(), u"Windows-1252"_s);
        EXPECT_EQ(pages->isEnabled(), areaNumber == 0);
        pages->setCurrentIndex(pages->findText(CodePage::named(u"CP437")->name()));
        EXPECT_TRUE(form->UpDate_TBMainNode());
        const QString expected = areaNumber == 0 ? CodePage::named(u"CP437")->name() : u"Windows-1252"_s;
        EXPECT_EQ(host.session().codePage().name(), expected);
        EXPECT_EQ(host.setting(u"CodePage"_s), areaNumber == 0 ? expected : QString());
    }
}

} // namespace
} // namespace Kelvane::Testing
