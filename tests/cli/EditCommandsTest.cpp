#include "cli/CliRunner.h"

namespace Kelvane::Testing {
namespace {

using EditCommandsTest = DemoCliTest;

TEST_F(EditCommandsTest, ADryRunAQuestionNoOneAnswersOrARefusalChangesNothing)
{
    const std::vector<std::vector<std::string>> commands = {
        { "scan", "1", "--dry-run" },
        { "read-diz", "1", "ARCHIVER.ZIP", "README.TXT", "--dry-run" },
        { "refresh", "1", "--dry-run" },
        { "erase", "1", "README.TXT", "--yes", "--dry-run" },
        { "delete", "1", "README.TXT", "ARCHIVER.ZIP", "--yes", "--dry-run" },
        { "strip-uploaders", "1", "--dry-run" },
        { "sort", "1", "--by", "size", "--dry-run" },
        { "move", "1", "ARCHIVER.ZIP", "--to", "5", "--yes", "--dry-run" },
        { "scan", "5", "--yes", "--dry-run" },
        { "index", "5", "--dry-run" },
    };
    const auto before = snapshot(demo);
    for (const auto& command : commands) {
        const auto result = kelvane(command);
        EXPECT_LE(result.status, 1) << command.front() << ": " << result.err;
        EXPECT_FALSE(result.out.empty()) << command.front();
        EXPECT_EQ(snapshot(demo), before) << command.front() << " changed the board";
    }

    // Questions no one answers and refusals end with status 1, and change nothing either.
    const std::vector<std::tuple<std::vector<std::string>, std::string>> cases = {
        { { "erase", "1", "README.TXT" }, "This will Delete the selected" }, // no terminal: Cancel
        { { "delete", "3", "SIMTEL.ZIP", "--yes" }, "You can not delete files from a CDROM File Area!" },
        { { "move", "1", "README.TXT", "--to", "1", "--yes" }, "Can not move file(s) to the same File Area!" },
        { { "move", "1", "README.TXT", "--to", "4", "--yes" }, "Can not move file(s) to a CDROM File Area!" },
        { { "read-diz", "1", "NOSUCH.ZIP" }, "NOSUCH.ZIP is not in the Files List" },
        { { "index", "1" }, "has no index path; skipped" },
    };
    for (const auto& [arguments, error] : cases) {
        const auto result = kelvane(arguments);
        EXPECT_EQ(result.status, 1) << arguments.front();
        EXPECT_THAT(result.err, HasSubstr(error)) << result.err;
    }
    EXPECT_EQ(snapshot(demo), before);
}

TEST_F(EditCommandsTest, CheckReportsTheDisagreementsAndScanAddsTheNewFiles)
{
    const auto text = kelvane({ "check", "1" });
    EXPECT_EQ(text.status, 1);
    EXPECT_THAT(text.out, HasSubstr("Entries whose file is in no directory:\n  OLDTOOL.ZIP\n  GONE.TXT\n")) << text.out;
    EXPECT_THAT(text.out, HasSubstr("NEWTOOL.ZIP"));
    const auto json = kelvane({ "check", "1", "--json" });
    EXPECT_THAT(json.out, HasSubstr("\"clean\": false"));
    EXPECT_THAT(json.out, HasSubstr("\"missing_files\": [\n    \"OLDTOOL.ZIP\",\n    \"GONE.TXT\"\n  ]")) << json.out;
    EXPECT_EQ(kelvane({ "check", "6" }).status, 0);

    const auto result = kelvane({ "scan", "1" });
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("added NEWTOOL.ZIP\n")) << result.out;
    const std::string list = TestBoard::readFile(utils / "FILES.LST");
    EXPECT_THAT(list, HasSubstr("NEWTOOL.ZIP "));
    EXPECT_THAT(list, HasSubstr("LONGFI~1.ZIP ")) << list; // the long name as its alias
    EXPECT_TRUE(fs::exists(utils / "FILES.BAK"));
    const auto again = kelvane({ "scan", "1" });
    EXPECT_EQ(again.status, 0);
    EXPECT_THAT(again.err, HasSubstr("No new files were found at this time."));
}

TEST_F(EditCommandsTest, EditsReachTheListOnDisk)
{
    EXPECT_EQ(kelvane({ "sort", "1", "--by", "size", "--descending" }).status, 0);
    std::string list = TestBoard::readFile(utils / "FILES.LST");
    EXPECT_LT(list.find("OLDTOOL.ZIP"), list.find("GONE.TXT"));
    EXPECT_LT(list.find("GONE.TXT"), list.find("README.TXT"));

    EXPECT_EQ(kelvane({ "strip-uploaders", "1" }).status, 0);
    EXPECT_THAT(TestBoard::readFile(utils / "FILES.LST"), Not(HasSubstr("Uploaded By")));

    const auto refreshed = kelvane({ "refresh", "1", "--sizes" });
    EXPECT_EQ(refreshed.status, 1); // two listed files are gone
    EXPECT_THAT(refreshed.err, HasSubstr("Files listed below were not found!"));
    list = TestBoard::readFile(utils / "FILES.LST");
    EXPECT_THAT(list, HasSubstr("README.TXT         40 ")) << list;

    const auto deleted = kelvane({ "delete", "1", "readme.txt", "--yes" });
    EXPECT_EQ(deleted.status, 0) << deleted.err;
    EXPECT_FALSE(fs::exists(utils / "README.TXT"));
    EXPECT_THAT(TestBoard::readFile(utils / "FILES.LST"), Not(HasSubstr("README.TXT")));
}

TEST_F(EditCommandsTest, MoveAndTheIndexOfATrackedArea)
{
    const fs::path uploads = demo / "files" / "uploads";
    // Without a terminal the Make Index question is answered No, and the line says how to
    // rebuild the index later.
    const auto moved = kelvane({ "move", "1", "ARCHIVER.ZIP", "--to", "5" });
    EXPECT_EQ(moved.status, 0) << moved.err;
    EXPECT_TRUE(fs::exists(uploads / "ARCHIVER.ZIP"));
    EXPECT_THAT(TestBoard::readFile(uploads / "FILES.LST"), HasSubstr("ARCHIVER.ZIP"));

    const auto scanned = kelvane({ "scan", "5" });
    EXPECT_THAT(scanned.err, HasSubstr("kelvane index 5 rebuilds them later")) << scanned.err;
    EXPECT_FALSE(fs::exists(uploads / "UPLOADS.IDX"));
    const auto indexed = kelvane({ "index", "5" });
    EXPECT_EQ(indexed.status, 0) << indexed.err;
    EXPECT_EQ(fs::file_size(uploads / "UPLOADS.IDX") % 15, 0u);
    EXPECT_GT(fs::file_size(uploads / "UPLOADS.IDX"), 0u);
}

// An error stream that plays the board: the first thing the command says (the erase
// question, after the list was read) makes it append an upload's entry to the list.
class BoardWritesMeanwhile : public std::stringbuf
{
public:
    BoardWritesMeanwhile(fs::path list, std::string entry)
        : m_list(std::move(list))
        , m_entry(std::move(entry))
    {
    }

protected:
    std::streamsize xsputn(const char* text, std::streamsize count) override
    {
        if (!m_written) {
            m_written = true;
            TestBoard::writeFile(m_list, TestBoard::readFile(m_list) + m_entry);
        }
        return std::stringbuf::xsputn(text, count);
    }

private:
    fs::path m_list;
    std::string m_entry;
    bool m_written = false;
};

TEST_F(EditCommandsTest, AListTheBoardChangedMeanwhileIsOverwrittenOnlyWithYes)
{
    const std::string upload = "UPLOAD.ZIP          3 03-03-96 Added by the board                           \r\n";
    const fs::path list = utils / "FILES.LST";
    const std::string before = TestBoard::readFile(list);
    for (const bool yes : { false, true }) {
        SCOPED_TRACE(yes ? "--yes" : "asked on the terminal");
        TestBoard::writeFile(list, before);
        BoardWritesMeanwhile board(list, upload);
        std::ostringstream out;
        std::ostream err(&board);
        std::istringstream in("y\n");
        std::vector<const char*> argv = { "kelvane", "erase", "1", "README.TXT", "--main-node", node.c_str() };
        if (yes)
            argv.push_back("--yes");
        CommandContext context { out, err, in, !yes };
        const int status = runCommandLine(static_cast<int>(argv.size()), argv.data(), context);
        const std::string after = TestBoard::readFile(list);
        if (yes) {
            EXPECT_EQ(status, 0) << board.str();
            EXPECT_THAT(after, Not(HasSubstr("UPLOAD.ZIP"))) << "overwritten, as --yes asked";
            EXPECT_THAT(after, Not(HasSubstr("README.TXT")));
        } else {
            EXPECT_EQ(status, 1);
            EXPECT_THAT(board.str(), HasSubstr("was changed on disk since it was read; nothing was saved"))
                << board.str();
            EXPECT_EQ(after, before + upload) << "the board's entry is kept and nothing is written";
        }
    }
}

} // namespace
} // namespace Kelvane::Testing

namespace Kelvane::Testing {
namespace {

TEST_F(EditCommandsTest, CheckShowsItsRepairsFirstAndAppliesThemOnlyWithYes)
{
    const auto before = snapshot(demo);
    const std::vector<std::string> repair { "check", "1", "--erase-missing", "--adopt" };
    for (const char* mode : { "", "--dry-run" }) {
        std::vector<std::string> arguments = repair;
        if (*mode)
            arguments.push_back(mode);
        const auto plan = kelvane(arguments);
        EXPECT_EQ(plan.status, 1) << mode;
        EXPECT_THAT(plan.out, HasSubstr("would erase the entry OLDTOOL.ZIP (its file is in no directory)\n")) << mode;
        EXPECT_THAT(plan.out, HasSubstr("would add " + (utils / "NEWTOOL.ZIP").string() + '\n')) << mode;
        EXPECT_THAT(plan.out, HasSubstr("area 1 (General Utilities): 2 missing files")) << mode;
        EXPECT_EQ(snapshot(demo), before) << mode << " changed the board";
    }

    std::vector<std::string> apply = repair;
    apply.push_back("--yes");
    const auto applied = kelvane(apply);
    EXPECT_THAT(applied.out, HasSubstr("would erase the entry OLDTOOL.ZIP")) << applied.out; // the plan first
    EXPECT_THAT(applied.out, HasSubstr("; 9 changes made\n")) << applied.out;
    const std::string list = TestBoard::readFile(utils / "FILES.LST");
    EXPECT_THAT(list, Not(HasSubstr("OLDTOOL.ZIP")));
    EXPECT_THAT(list, HasSubstr("NEWTOOL.ZIP "));
    EXPECT_TRUE(fs::exists(utils / "FILES.BAK"));

    // The CD-ROM area is reported, never changed; the damaged archive is named with its reason.
    const auto cdromBefore = snapshot(demo / "files" / "cdrom");
    const auto cdrom = kelvane({ "check", "3", "--refresh", "--yes" });
    EXPECT_THAT(cdrom.out, HasSubstr("reported, never changed")) << cdrom.out;
    EXPECT_EQ(snapshot(demo / "files" / "cdrom"), cdromBefore);
    const auto archives = kelvane({ "check", "2", "--test-archives", "--json" });
    EXPECT_EQ(archives.status, 1);
    EXPECT_THAT(archives.out, HasSubstr("HERETIC.ZIP\",\n      \"state\": \"damaged\",\n      \"reason\": \"HERETIC.EXE: "))
        << archives.out;
}

} // namespace
} // namespace Kelvane::Testing
