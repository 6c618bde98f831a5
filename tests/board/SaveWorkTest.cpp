#include "board/FilesList.h"
#include "editor/EditorFixture.h"

#include <cerrno>
#include <sys/stat.h>

namespace Kelvane::Testing {
namespace {

const std::string OldList = "OLD.ZIP             1 01-01-96 The list as it was                           \r\n";
const std::string NewList = "NEW.ZIP             2 02-02-96 The new list                                 \r\n";
const EntryList NewEntries = { { "NEW.ZIP", " 2", "02-02-96", "The new list\r\n" } };

class SaveWorkTest : public EditorFixture
{
protected:
    MessageBox savedBox() const { return savedBox(list); }
    static MessageBox savedBox(const fs::path& path)
    {
        return { u"Kelvane Information"_s, u"Changes were saved to "_s + QString::fromStdString(path.string()),
                 Buttons::Ok, Icon::Information };
    }

    fs::path list = board.root() / "areas" / "area" / "FILES.LST";
    fs::path backup = list.parent_path() / "FILES.BAK";
};

// The previous list becomes the backup; a list changed on disk since it was read is
// overwritten only after asking.
TEST_F(SaveWorkTest, KeepsThePreviousListAndAsksBeforeOverwritingAChangedOne)
{
    const std::string upload = "UPLOAD.ZIP          3 03-03-96 Added by the board                           \r\n";
    const std::tuple<const char*, std::function<void(const fs::path&)>, bool> writers[] = {
        { "nobody", [](const fs::path&) {}, false },
        { "the board appends an entry", [&](const fs::path& path) { TestBoard::writeFile(path, OldList + upload); },
          true },
        { "same size and time, other bytes",
          [](const fs::path& path) {
              const auto time = fs::last_write_time(path);
              std::string other = OldList;
              other[0] = 'P';
              TestBoard::writeFile(path, other);
              fs::last_write_time(path, time);
          },
          true },
        { "the list was removed", [](const fs::path& path) { fs::remove(path); }, true },
    };
    for (const auto& [what, write, changed] : writers) {
        for (const Answer answer : { Answer::No, Answer::Yes }) {
            SCOPED_TRACE(std::string(what) + (answer == Answer::Yes ? ", overwrite" : ", keep"));
            TestBoard::writeFile(list, OldList);
            TestBoard::writeFile(backup, "an older backup");
            open();
            EntryList entries;
            ASSERT_TRUE(Load_fEditFileArealsv(*session, entries));
            write(list);
            const std::string before = fs::exists(list) ? TestBoard::readFile(list) : std::string();
            const bool overwrite = !changed || answer == Answer::Yes;
            if (changed)
                port.expectAlert("FilesListChanged", answer, { {}, {}, QString::fromStdString(list.string()) });
            if (overwrite)
                port.expect(savedBox());
            EXPECT_EQ(SaveWork(*session, NewEntries), overwrite);
            EXPECT_EQ(TestBoard::readFile(list), overwrite ? NewList : before);
            if (!changed) {
                EXPECT_EQ(TestBoard::readFile(backup), OldList);
            }
            // What was written is the new reference: a second save asks nothing.
            if (overwrite) {
                port.expect(savedBox());
                EXPECT_TRUE(SaveWork(*session, NewEntries));
            }
            if (!changed)
                break;
        }
    }
}

TEST_F(SaveWorkTest, AListOfAnotherNameIsReplacedWithoutABackupAndAnEmptyOneWithoutTheMessage)
{
    const fs::path other = files / "files.lst";
    TestBoard::writeFile(other, OldList);
    open();
    session->area.FileListPath = other;
    port.expect(savedBox(other));
    EXPECT_TRUE(SaveWork(*session, NewEntries));
    EXPECT_EQ(TestBoard::readFile(other), NewList);
    EXPECT_FALSE(fs::exists(backup));
    EXPECT_FALSE(fs::exists(files / "files.bak"));

    // An empty list, or one ended by an empty name, saves without the message.
    fs::remove(other);
    TestBoard::writeFile(list, OldList);
    open();
    EXPECT_TRUE(SaveWork(*session, {}));
    EXPECT_EQ(TestBoard::readFile(list), "");
    EXPECT_TRUE(SaveWork(*session, { { "", " 1", "01-01-01", "x\r\n" }, NewEntries.front() }));
    EXPECT_EQ(TestBoard::readFile(list), "");
}

TEST_F(SaveWorkTest, LongNamesAreWrittenAsAliasesAndReadBackWhole)
{
    TestBoard::writeFile(files / "A Long File Name.zip", "zip");
    TestBoard::writeFile(files / "Another Long One.zip", "zip");
    open();
    port.expect(savedBox());
    const EntryList entries = { { "A LONG FILE NAME.ZIP", " 3", "01-01-96", "one\r\n" },
                                { "Another Long One.zip", " 3", "01-01-96", "two\r\n" },
                                { "Missing Long Name.zip", " 3", "01-01-96", "three\r\n" } };
    EXPECT_TRUE(SaveWork(*session, entries));
    const std::string saved = TestBoard::readFile(list);
    EXPECT_EQ(saved.substr(0, 13), "ALONGF~1.ZIP ");
    EXPECT_THAT(saved, HasSubstr("\r\nANOTHE~1.ZIP "));
    EXPECT_THAT(saved, HasSubstr("\r\nMissing Long Name.zip "));
    EntryList again;
    ASSERT_TRUE(Load_fEditFileArealsv(*session, again));
    ASSERT_EQ(again.size(), 3u);
    EXPECT_EQ(again[0].FileName, "A LONG FILE NAME.ZIP");
    EXPECT_EQ(again[1].FileName, "ANOTHER LONG ONE.ZIP");
    // A long name no directory holds was written whole, so it reads back cut to 12 columns.
    EXPECT_EQ(again[2].FileName, "Missing Long");
}

// Every step of the save made to fail in turn: the previous list stays whole under its own
// name, the failure is reported as SaveWork and no temporary file is left.
TEST_F(SaveWorkTest, AFailureAtAnyStepKeepsThePreviousList)
{
    const std::vector<std::pair<SaveStep, int>> failures = {
        { SaveStep::CreateTemporary, EACCES }, { SaveStep::Write, ENOSPC },
        { SaveStep::FlushToDisk, EIO },        { SaveStep::RemoveBackup, EACCES },
        { SaveStep::RenameToBackup, EROFS },   { SaveStep::RenameIntoPlace, ENOSPC },
    };
    for (const auto& [failing, code] : failures) {
        SCOPED_TRACE(static_cast<int>(failing));
        TestBoard::writeFile(list, OldList);
        TestBoard::writeFile(backup, "an older backup");
        open();
        port.expectError("SaveWork");
        const bool saved = SaveWork(*session, NewEntries, [failing, code](SaveStep step) {
            if (step == failing)
                throw fs::filesystem_error("injected", std::error_code(code, std::generic_category()));
        });
        EXPECT_FALSE(saved);
        EXPECT_EQ(TestBoard::readFile(list), OldList);
        for (const fs::directory_entry& entry : fs::directory_iterator(files))
            EXPECT_FALSE(entry.path().extension() == ".tmp") << entry.path();
    }
    const std::string log = TestBoard::readFile(board.programDirectory() / "Kelvane.err");
    EXPECT_THAT(log, HasSubstr("Error #  61 was generated by Kelvane\r\nDisk full"));
    EXPECT_THAT(log, HasSubstr("Procedure Name: SaveWork\r\n"));
}

// Whatever lies where the list should be, reading neither crashes nor hangs nor changes it.
TEST_F(SaveWorkTest, ReadingBadInputChangesNothing)
{
    const std::vector<std::tuple<const char*, std::function<void(const fs::path&)>, bool>> cases = {
        { "missing: created empty", [](const fs::path&) {}, true },
        { "binary garbage",
          [](const fs::path& path) {
              std::string bytes(4096, '\0');
              for (std::size_t i = 0; i < bytes.size(); ++i)
                  bytes[i] = static_cast<char>(i * 7919 % 256);
              TestBoard::writeFile(path, bytes);
          },
          true },
        { "a directory", [](const fs::path& path) { fs::create_directory(path); }, false },
        { "a FIFO", [](const fs::path& path) { ::mkfifo(path.c_str(), 0644); }, false },
    };
    for (const auto& [what, make, readable] : cases) {
        SCOPED_TRACE(what);
        std::error_code ignored;
        fs::remove_all(list, ignored);
        make(list);
        const auto before = fs::exists(list) && fs::is_regular_file(list) ? TestBoard::readFile(list) : std::string();
        open();
        if (!readable)
            port.expectError("Load_fEditFileArealsv");
        EntryList entries = { { "STALE", " 1", "", "" } };
        EXPECT_EQ(Load_fEditFileArealsv(*session, entries), readable);
        if (readable) {
            EXPECT_EQ(TestBoard::readFile(list), before);
        } else {
            EXPECT_TRUE(entries.empty());
            EXPECT_TRUE(session->ListIsEmpty);
        }
    }
    fs::remove_all(list);
}

TEST_F(SaveWorkTest, EntriesReadFromOneListAreNeverSavedOverAnother)
{
    const AreaRecord second = board.simpleRecord("second");
    const int secondNumber = board.addArea(second);
    const fs::path secondList = second.filesList;
    TestBoard::writeFile(list, OldList);
    TestBoard::writeFile(secondList, NewList);
    open();
    const int number = session->area.AreaNumber;
    EntryList first;
    ASSERT_TRUE(Load_fEditFileArealsv(*session, first));
    ListStamp firstOrigin = session->listStamp;

    // The second area is opened and read in the same session; the first area's entries,
    // saved with their own origin or with the session's, never reach its list.
    session->area.AreaNumber = secondNumber;
    ASSERT_TRUE(Farea_Dat_Initialize(*session));
    EntryList others;
    ASSERT_TRUE(Load_fEditFileArealsv(*session, others));
    port.expectError("SaveWork");
    EXPECT_FALSE(SaveWork(*session, first, firstOrigin));
    session->area.AreaNumber = number;
    ASSERT_TRUE(Farea_Dat_Initialize(*session));
    port.expectError("SaveWork");
    EXPECT_FALSE(SaveWork(*session, others));
    EXPECT_EQ(TestBoard::readFile(secondList), NewList);
    EXPECT_EQ(TestBoard::readFile(list), OldList);
    EXPECT_FALSE(fs::exists(backup));

    // Back on their own list, the first area's entries save.
    port.expect(savedBox());
    EXPECT_TRUE(SaveWork(*session, first, firstOrigin));
    EXPECT_EQ(TestBoard::readFile(list), OldList);
}

} // namespace
} // namespace Kelvane::Testing
