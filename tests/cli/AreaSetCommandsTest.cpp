#include "cli/CliRunner.h"

namespace Kelvane::Testing {
namespace {

// Two areas tracked for the index, each with a new file and a text file to leave out (the
// second offline, its disc in: a run over many areas opens it without asking), and a third
// whose directory is gone.
class AreaSetCommandsTest : public CliTest
{
protected:
    void SetUp() override
    {
        for (const std::string name : { "Alpha", "Beta" }) {
            AreaRecord record = board.simpleRecord(name);
            record.index = (fs::path(record.path) / (name + ".IDX")).string();
            record.offline = name == "Beta" ? "Yes" : "No";
            board.addArea(record);
            const fs::path files = record.path;
            dirs.push_back(files);
            TestBoard::writeFile(files / "FILES.LST", "OLD.ZIP             3 01-02-97 Listed\r\n");
            TestBoard::writeFile(files / "OLD.ZIP", "old");
            TestBoard::writeFile(files / ("NEW" + name + ".ZIP"), "new");
            TestBoard::writeFile(files / "NOTES.TXT", "notes");
        }
        AreaRecord gone = board.simpleRecord("Gone");
        fs::remove_all(gone.path);
        board.addArea(gone);
    }

    std::vector<fs::path> dirs;
};

TEST_F(AreaSetCommandsTest, ADryRunScanOverTheBoardChangesNothingAndMakeIndexIsAskedOnceForEveryArea)
{
    const auto before = snapshot(board.root() / "areas");
    const auto result = kelvane({ "scan", "--all", "--exclude", "*.txt", "--dry-run" });
    EXPECT_EQ(result.status, 1) << "the area whose directory is gone";
    EXPECT_EQ(result.out,
              "would add NEWALPHA.ZIP\narea 1 (Alpha): 1 new file would be added\n"
              "would add NEWBETA.ZIP\narea 2 (Beta): 1 new file would be added\n");
    EXPECT_EQ(result.err,
              "kelvane: area 3 (Gone): its file directory " + (board.root() / "areas" / "Gone").string()
                  + " cannot be found; skipped\n");
    EXPECT_EQ(snapshot(board.root() / "areas"), before);

    // A real scan asks the Make Index question once for every queued area.
    const auto unanswered = kelvane({ "scan", "1-2", "--exclude", "*.TXT", "--exclude", "NONE*" });
    EXPECT_EQ(unanswered.status, 0) << unanswered.err;
    EXPECT_THAT(unanswered.err, HasSubstr("Run Make Index")) << unanswered.err;
    EXPECT_EQ(unanswered.err.find("Run Make Index"), unanswered.err.rfind("Run Make Index")) << "asked once";
    EXPECT_NE(unanswered.err.find("kelvane index 1 2 rebuilds them later"), std::string::npos) << unanswered.err;
    EXPECT_EQ(TestBoard::readFile(dirs[1] / "FILES.LST").find("NOTES.TXT"), std::string::npos);
    EXPECT_NE(TestBoard::readFile(dirs[1] / "FILES.LST").find("NEWBETA.ZIP"), std::string::npos);

    for (const fs::path& dir : dirs)
        TestBoard::writeFile(dir / "MORE.ZIP", "more");
    const auto answered = kelvane({ "scan", "Alpha,Beta", "--yes" });
    EXPECT_EQ(answered.status, 0) << answered.err;
    EXPECT_THAT(answered.err, HasSubstr("Run Make Index")) << answered.err;
    EXPECT_EQ(answered.err.find("Run Make Index"), answered.err.rfind("Run Make Index")) << "asked once";
    EXPECT_TRUE(fs::exists(dirs[0] / "Alpha.IDX"));
    EXPECT_TRUE(fs::exists(dirs[1] / "Beta.IDX"));

    // Read-only commands print one document for many areas.
    const auto shown = kelvane({ "show", "--match", "*A", "--json" });
    EXPECT_EQ(shown.status, 0) << shown.err;
    const QJsonArray areas = QJsonDocument::fromJson(QByteArray::fromStdString(shown.out)).array();
    ASSERT_EQ(areas.size(), 2) << shown.out;
    EXPECT_EQ(areas[1][u"entries"_s].toArray().size(), 4); // OLD, NEWBETA, NOTES, MORE
}

} // namespace
} // namespace Kelvane::Testing
