#include "FrameFixture.h"

#include "shell/CheckAreaForm.h"

#include <QCheckBox>
#include <QPlainTextEdit>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace Kelvane::Testing {
namespace {

using CheckAreaTest = FrameFixture;

TEST_F(CheckAreaTest, TickedRepairsChangeTheEditorsEntriesAndSaveNothing)
{
    const int number = addArea("utils", line("GONE.ZIP", 10, "its file is gone") + line("HERE.TXT", 4, "here"),
                               { { "HERE.TXT", "1234" }, { "NEW.TXT", "new" } });
    makeFrame();
    QAction* checkArea = action(u"mnuCheckArea"_s);
    EXPECT_FALSE(checkArea->isEnabled()); // no area open
    EditorForm* editor = openArea(number);
    ASSERT_NE(editor, nullptr);
    ASSERT_TRUE(checkArea->isEnabled());
    checkArea->trigger();
    auto* form = frame->findChild<CheckAreaForm*>(u"frmCheckArea"_s);
    ASSERT_NE(form, nullptr);
    EXPECT_THAT(form->findChild<QPlainTextEdit*>(u"txtCheckReport"_s)->toPlainText().toStdString(),
                ::testing::HasSubstr("Entries whose file is in no directory:\n  GONE.ZIP\n"));
    auto* apply = form->findChild<QPushButton*>(u"cmdApply"_s);
    EXPECT_FALSE(apply->isEnabled()); // nothing ticked

    const std::string listBefore = TestBoard::readFile(areaDirectory("utils") / "FILES.LST");
    for (const QString& box : { u"chkEraseMissing"_s, u"chkAdopt"_s }) {
        auto* check = form->findChild<QCheckBox*>(box);
        QTest::mouseClick(check, Qt::LeftButton, {}, QPoint(8, check->height() / 2));
        EXPECT_TRUE(check->isChecked()) << box.toStdString();
    }
    QTest::mouseClick(apply, Qt::LeftButton);

    EXPECT_EQ(namesOf(editor->table().entries()), (std::vector<std::string> { "HERE.TXT", "NEW.TXT" }));
    auto* names = find<QListView>(u"lstFileNames"_s);
    EXPECT_EQ(names->model()->rowCount(), 2);
    EXPECT_EQ(names->model()->index(1, 0).data().toString(), u"NEW.TXT"_s);
    EXPECT_TRUE(session->ChangesMade);
    EXPECT_EQ(TestBoard::readFile(areaDirectory("utils") / "FILES.LST"), listBefore);
    EXPECT_THAT(form->findChild<QLabel*>(u"lblCheckStatus"_s)->text().toStdString(),
                ::testing::HasSubstr("2 changes made"));

    // The window goes with the editor whose entries it holds.
    session->ChangesMade = false;
    editor->close();
    settle();
    EXPECT_EQ(frame->findChild<CheckAreaForm*>(u"frmCheckArea"_s), nullptr);
    EXPECT_FALSE(checkArea->isEnabled());
}

} // namespace
} // namespace Kelvane::Testing
