#include "editor/EditorFixture.h"

#include "board/BasicText.h"
#include "board/FileDates.h"
#include "editor/AreaRepair.h"
#include "platform/ZipWriter.h"

namespace Kelvane::Testing {
namespace {

namespace fs = std::filesystem;

class AreaRepairTest : public EditorFixture
{
protected:
    // A missing file, an empty one, an entry whose size and date are wrong, one that is right,
    // and an unlisted archive with a FILE_ID.DIZ in the area's second directory.
    void SetUp() override
    {
        EditorFixture::SetUp();
        TestBoard::writeFile(files / "EMPTY.TXT", "");
        TestBoard::writeFile(files / "OLD.TXT", "12345");
        TestBoard::writeFile(files / "RIGHT.TXT", "123");
        writeZip(fs::path(record.alt[0]) / "NEW.ZIP", { { "FILE_ID.DIZ", "New tool\r\n" }, { "NEW.EXE", "MZ" } });
        listed = { { "GONE.TXT", "7", "01-01-96", "gone\r\n" },
                   { "EMPTY.TXT", "0", fileListDate(files / "EMPTY.TXT"), "empty\r\n" },
                   { "OLD.TXT", "999", "01-01-96", "old\r\n" },
                   { "RIGHT.TXT", "3", fileListDate(files / "RIGHT.TXT"), "right\r\n" } };
    }

    EntryList listed;
};

TEST_F(AreaRepairTest, EachRepairAloneAndTogetherThroughTheEditorsOperations)
{
    const Entry refreshed { "OLD.TXT", "5", fileListDate(files / "OLD.TXT"), "old\r\n" };
    const Entry adopted { "NEW.ZIP", plainNumber(static_cast<double>(fs::file_size(fs::path(record.alt[0]) / "NEW.ZIP"))),
                          todayListDate(), "New tool\r\n" };
    struct Case
    {
        const char* what;
        RepairChoice choice;
        bool cdrom;
        EntryList after; // empty: the list as it was
    };
    const Entry& gone = listed[0];
    const Entry& empty = listed[1];
    const Entry& old = listed[2];
    const Entry& right = listed[3];
    const Case cases[] = {
        { "erase", { .eraseMissing = true }, false, { empty, old, right } },
        { "erase, empty as missing", { .eraseMissing = true, .zeroAsMissing = true }, false, { old, right } },
        { "adopt", { .adopt = true }, false, { gone, empty, old, right, adopted } },
        { "refresh", { .refresh = true }, false, { gone, empty, refreshed, right } },
        { "all", { true, true, true, true }, false, { refreshed, right, adopted } },
        { "all on a CD-ROM", { true, true, true, true }, true, {} },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        session->area.IsCDRom = c.cdrom;
        session->ChangesMade = false;
        load(listed);
        const RepairPlan plan = planRepair(*session, checkArea(*session, table.entries()), c.choice);
        EXPECT_EQ(plan.readOnly, c.cdrom);
        const RepairOutcome outcome = applyRepair(*session, table, plan);
        EXPECT_EQ(table.entries(), c.after.empty() ? listed : c.after);
        EXPECT_EQ(session->ChangesMade, !c.cdrom);
        EXPECT_FALSE(table.anySelected());
        EXPECT_TRUE(outcome.leftAlone.empty());
        // The files are never touched.
        EXPECT_TRUE(fs::exists(files / "EMPTY.TXT"));
    }

    // Between the plan and its application the archive goes and the missing file comes back:
    // both are named and left as they are.
    session->area.IsCDRom = false;
    load(listed);
    const RepairPlan plan = planRepair(*session, checkArea(*session, table.entries()), { true, false, true, false });
    fs::remove(fs::path(record.alt[0]) / "NEW.ZIP");
    TestBoard::writeFile(files / "GONE.TXT", "back");
    const RepairOutcome outcome = applyRepair(*session, table, plan);
    EXPECT_EQ(table.entries(), listed);
    ASSERT_EQ(outcome.leftAlone.size(), 2u);
    EXPECT_EQ(outcome.leftAlone[0].toStdString(), "GONE.TXT: its file is there again; kept");
}

} // namespace
} // namespace Kelvane::Testing
