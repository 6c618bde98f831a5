#include "FrameFixture.h"

#include "clean/DescriptionCleaner.h"

#include <QMenu>

using namespace Qt::StringLiterals;

namespace Kelvane::Testing {
namespace {

class CleanDescriptionsTest : public FrameFixture
{
};

// Tools > Clean Descriptions: only while an area is open, on the tagged entries, with the
// rules file the settings name; the list on disk waits for Save Work.
TEST_F(CleanDescriptionsTest, CleansTheTaggedEntriesAndWaitsForSaveWork)
{
    const std::filesystem::path rules = board.root() / "rules.txt";
    TestBoard::writeFile(rules, "Uploaded to .* BBS\n");
    settings->SaveSetting(u"Kelvane Startup"_s, QString::fromUtf16(CleanRulesSetting),
                          QString::fromStdString(rules.string()));
    const std::string continuation(31, ' ');
    const std::string list = line("ONE.ZIP", 1, "|15Hot |07game") + line("TWO.ZIP", 2, "Night Owl tool") + continuation
        + "Uploaded to Night Owl BBS\r\n" + line("THREE.ZIP", 3, "|12Red");
    const int area = addArea("area", list);
    makeFrame();
    QAction* clean = action(u"mnuCleanDescriptions"_s);
    EXPECT_TRUE(find<QMenu>(u"mnuTools"_s)->actions().contains(clean));
    EXPECT_FALSE(clean->isEnabled());

    openArea(area);
    EXPECT_TRUE(clean->isEnabled());
    clickRow(0);
    clickRow(1, Qt::ControlModifier);
    clean->trigger();
    const EntryTable& table = frame->editor()->table();
    EXPECT_EQ(table.at(0).Description, "Hot game\r\n");
    EXPECT_EQ(table.at(1).Description, "Night Owl tool\r\n");
    EXPECT_EQ(table.at(2).Description, "|12Red\r\n");
    EXPECT_FALSE(table.anySelected());
    EXPECT_TRUE(session->ChangesMade);
    EXPECT_EQ(TestBoard::readFile(areaDirectory("area") / "FILES.LST"), list);

    // A description already clean changes nothing, and marks nothing.
    session->ChangesMade = false;
    clickRow(0);
    clean->trigger();
    EXPECT_FALSE(session->ChangesMade);

    action(u"Close"_s)->trigger();
    settle();
    EXPECT_FALSE(clean->isEnabled());
}

} // namespace
} // namespace Kelvane::Testing
