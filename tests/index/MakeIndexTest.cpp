#include "index/MakeIndex.h"

#include "board/CurrentArea.h"
#include "board/Session.h"
#include "platform/FileNames.h"
#include "support/ScriptedPort.h"
#include "support/TestBoard.h"

#include <cstdio>
#include <cstdlib>
#include <optional>

#ifndef Q_OS_WIN
#include <unistd.h>
#endif

using namespace std::string_literals;

namespace Kelvane::Testing {
namespace {

const std::string NoRecord(15, '\0');

class MakeIndexTest : public ::testing::Test
{
protected:
    using Slots = std::map<int, std::vector<std::string>>;

    /// An area whose slots hold the given empty files, indexed at root/index/<title>.IDX
    /// unless index says otherwise; the area is put on the Make Index list.
    int addPendingArea(const std::string& title, const Slots& slots, std::optional<std::string> index = {})
    {
        AreaRecord record = board.simpleRecord(title);
        for (const auto& [slot, names] : slots) {
            fs::path directory = record.path;
            if (slot > 0) {
                directory = board.root() / "areas" / (title + "-" + std::to_string(slot));
                record.alt[static_cast<std::size_t>(slot - 1)] = directory.string();
            }
            fs::create_directories(directory);
            for (const std::string& name : names)
                TestBoard::writeFile(directory / name, "");
        }
        record.index = index.value_or(indexPath(title).string());
        const int number = board.addArea(record);
        AddToMakeIndexList(*session, number);
        session->IndexPending = true;
        return number;
    }

    fs::path indexPath(const std::string& title) const { return board.root() / "index" / (title + ".IDX"); }

    TestBoard board;
    ScriptedPort port;
    std::unique_ptr<Session> session = board.session(port);
};

TEST_F(MakeIndexTest, WritesOneRecordPerFileInSlotAndListingOrderLeavingOutNamesByPattern)
{
    const std::tuple<std::string, Slots, std::string> cases[] = {
        { "Gaps",
          { { 0, { "FILES.BBS", "OLD.BAK", "readme.txt", "Long Name Here.zip" } }, { 3, { "third.zip" } } },
          NoRecord + "\0\0LONGNA~1.ZIP\0"s + NoRecord + "\0\0README.TXT\0  "s + "\3\0THIRD.ZIP\0   "s },
        { "SkippedAtEnd", { { 0, { "ARC.ZIP", "FILES.BBS", "OLD.BAK" } } }, "\0\0ARC.ZIP\0     "s },
        { "NoFiles", { { 0, {} } }, "" },
        { "Order",
          { { 0, { "b.zip", "A.zip" } }, { 1, { "ABCDEFGH.ZIP" } }, { 10, { "z.zip" } } },
          "\0\0A.ZIP\0       "s + "\0\0B.ZIP\0       "s + "\1\0ABCDEFGH.ZIP\0"s + "\x0a\0Z.ZIP\0       "s },
        { "CodePage", { { 0, { "café.txt" } } }, "\0\0CAF\xC9.TXT\0    "s },
    };
    for (const auto& [title, slots, expected] : cases)
        addPendingArea(title, slots);
    // An old, longer, read-only index is replaced whole, spelled as on disk.
    const fs::path old = board.root() / "index" / "skippedatend.idx";
    TestBoard::writeFile(old, std::string(60, 'X'));
    fs::permissions(old, fs::perms::owner_read);

    Make_Index_File(*session);

    for (const auto& [title, slots, expected] : cases) {
        const fs::path index = title == "SkippedAtEnd" ? old : indexPath(title);
        ASSERT_TRUE(fs::is_regular_file(index)) << title;
        EXPECT_EQ(TestBoard::readFile(index), expected) << title;
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(old.parent_path()), {}), 5); // no temporary file left

    // The names left out are matched with stars standing for any run of characters.
    const std::tuple<std::string_view, std::string_view, bool> patterns[] = {
        { ".BAK", "*.BAK", true },     { "A.BAK.BAK", "*.BAK", true }, { "A.BAK.ZIP", "*.BAK", false },
        { "OLD.bak", "*.BAK", false }, { "FILES.", "FILES.*", true },  { "MYFILES.BBS", "FILES.*", false },
        { "ABAB", "*AB*AB", true },    { "ABA", "*AB*AB", false },     { "A.ZIP", "?.ZIP", true },
        { "AB.ZIP", "?.ZIP", false },
    };
    for (const auto& [name, pattern, matches] : patterns)
        EXPECT_EQ(matchesPattern(name, pattern), matches) << name << " ~ " << pattern;
}

TEST_F(MakeIndexTest, AnEmptyListShowsAndWritesNothing)
{
    session->IndexPending = true;
    Make_Index_File(*session);
    EXPECT_FALSE(session->IndexPending);
    EXPECT_EQ(port.eventTurns, 0);
    EXPECT_FALSE(fs::exists(board.root() / "index"));
}

TEST_F(MakeIndexTest, RowsCarryOverPastAnIndexPathThatIsADirectory)
{
    addPendingArea("First", { { 0, { "ONE.ZIP", "TWO.ZIP" } } });
    fs::create_directories(indexPath("First"));
    // An area without an index path is passed over and hands the rows on.
    addPendingArea("Blank", { { 0, { "NOT.ZIP" } } }, "   ");
    addPendingArea("Second", { { 0, { "THREE.ZIP" } }, { 1, { "FOUR.ZIP" } } });

    Make_Index_File(*session);

    EXPECT_TRUE(fs::is_empty(indexPath("First")));
    EXPECT_EQ(TestBoard::readFile(indexPath("Second")),
              "\0\0ONE.ZIP\0     "s + "\0\0TWO.ZIP\0     "s + "\0\0THREE.ZIP\0   "s + "\1\0FOUR.ZIP\0    "s);
    EXPECT_TRUE(session->makeIndexList.empty());
    EXPECT_FALSE(session->IndexPending);
}

TEST_F(MakeIndexTest, AnOldIndexThatCannotBeMadeWritableIsOverwrittenInPlace)
{
#ifdef Q_OS_WIN
    GTEST_SKIP() << "needs a file whose mode its writer may not change";
#else
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs a file owned by a user other than the one running the build";
    addPendingArea("Area", { { 0, { "A.ZIP", "B.BAK", "C.ZIP" } } });
    const fs::path index = indexPath("Area");
    std::string old;
    for (char record = '1'; record <= '5'; ++record)
        old += std::string(15, record);
    TestBoard::writeFile(index, old);
    // Owned by one user and writable by everyone but its owner: the run, under a third user,
    // may write the file but not change its mode.
    ASSERT_EQ(::chown(index.c_str(), 40001, 40001), 0);
    fs::permissions(index,
                    fs::perms::group_read | fs::perms::group_write | fs::perms::others_read | fs::perms::others_write);
    fs::permissions(board.root(), fs::perms::others_read | fs::perms::others_exec, fs::perm_options::add);
    const std::string expected = "\0\0A.ZIP\0       "s + std::string(15, '2') // B.BAK: the old record stays
        + "\0\0C.ZIP\0       "s + std::string(15, '4') + std::string(15, '5'); // past the new end

    EXPECT_EXIT(
        {
            if (::setgid(40002) != 0 || ::setuid(40002) != 0)
                std::_Exit(2);
            Make_Index_File(*session);
            const std::string bytes = TestBoard::readFile(index);
            if (bytes != expected) {
                std::fprintf(stderr, "index: %s\n", QByteArray::fromStdString(bytes).toHex(' ').constData());
                std::_Exit(1);
            }
            std::_Exit(0);
        },
        ::testing::ExitedWithCode(0), "");
#endif
}

TEST_F(MakeIndexTest, AnErrorIsReportedAndTheRunGoesOn)
{
    AddToMakeIndexList(*session, 7); // the board has no area 7
    // A directory that cannot be listed: the area's rows are dropped, not carried over.
    addPendingArea("Unlistable", { { 0, { "ONE.ZIP" } }, { 1, {} } });
    fs::remove(board.root() / "areas" / "Unlistable-1");
    const fs::path blocker = board.root() / "blocker";
    TestBoard::writeFile(blocker, "a file where the index's directory should be");
    addPendingArea("Blocked", { { 0, { "TWO.ZIP" } } }, (blocker / "AREA.IDX").string());
    addPendingArea("Good", { { 0, { "GOOD.ZIP" } } });
    port.expectError("Make_Index_File").expectError("Make_Index_File").expectError("Make_Index_File");

    Make_Index_File(*session);

    EXPECT_FALSE(fs::exists(indexPath("Unlistable")));
    EXPECT_EQ(TestBoard::readFile(blocker), "a file where the index's directory should be");
    EXPECT_EQ(TestBoard::readFile(indexPath("Good")), "\0\0GOOD.ZIP\0    "s);
    EXPECT_TRUE(session->makeIndexList.empty());
}

using MakeIndexDeathTest = MakeIndexTest;

TEST_F(MakeIndexDeathTest, AnIndexPathWithoutADirectoryEndsTheProgramSilently)
{
    GTEST_FLAG_SET(death_test_style, "fast"); // the child's files are looked at from here
    addPendingArea("Before", { { 0, { "A.ZIP" } } });
    addPendingArea("Unusable", { { 0, { "B.ZIP" } } }, "UNUSABLE.IDX");
    addPendingArea("After", { { 0, { "C.ZIP" } } });

    EXPECT_EXIT(Make_Index_File(*session), ::testing::ExitedWithCode(0), "^$");

    EXPECT_EQ(TestBoard::readFile(indexPath("Before")), "\0\0A.ZIP\0       "s);
    EXPECT_FALSE(fs::exists(indexPath("After")));
    EXPECT_FALSE(fs::exists(pathFromUnicode(session->errorReporter().logPath())));
}

} // namespace
} // namespace Kelvane::Testing
