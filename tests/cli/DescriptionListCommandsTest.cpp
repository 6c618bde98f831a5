#include "cli/CliRunner.h"

#include "editor/DescriptionLists.h"
#include "platform/ZipWriter.h"
#include "support/TestBoard.h"

#include <gtest/gtest.h>

#include <map>

namespace Kelvane::Testing {
namespace {

namespace fs = std::filesystem;

using Descriptions = std::map<std::string, std::string>;

// An area copied from another board: a FILES.BBS and a DESCRIPT.ION beside the files, one
// file long-named and listed by its alias, one archive with a FILE_ID.DIZ of its own.
class DescriptionListCommandsTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const AreaRecord record = board.simpleRecord("cd");
        files = record.path;
        board.addArea(record);
        writeZip(files / "NODIZ.ZIP", { { "NODIZ.EXE", "MZ" } });
        writeZip(files / "WITHDIZ.ZIP", { { "FILE_ID.DIZ", "From the DIZ\r\n" } });
        for (const char* name : { "readme.txt", "Long Name Notes.txt", "ONLY.TXT" })
            TestBoard::writeFile(files / name, name);
        TestBoard::writeFile(files / "files.bbs", "NODIZ.ZIP     2 01-01-96 No DIZ inside\r\n             | second line\r\n"
                                                  "WITHDIZ.ZIP  Loses to the DIZ\r\nREADME.TXT  Read me (BBS)\r\n"
                                                  "LONGNA~1.TXT  Notes, by their alias\r\nreadme.txt  listed twice\r\n");
        TestBoard::writeFile(files / "DESCRIPT.ION", "readme.txt Read me (ION)\n\"only.txt\" Only in DESCRIPT.ION\n");
    }

    CliResult kelvane(std::vector<std::string> arguments)
    {
        return runKelvaneOn(board.mainNode().string(), std::move(arguments));
    }

    Descriptions listed()
    {
        Descriptions descriptions;
        for (const Entry& entry : FilesListFormat::parse(TestBoard::readFile(files / "FILES.LST"), {}).entries)
            descriptions[entry.FileName] = entry.Description;
        return descriptions;
    }

    TestBoard board;
    fs::path files;
};

TEST_F(DescriptionListCommandsTest, ScanTakesDescriptionsFromTheListsAsAsked)
{
    const std::string none = "No Description\r\n";
    const std::string nodiz = "No DIZ inside\r\nsecond line\r\n";
    const std::string diz = "From the DIZ\r\n";
    const std::string alias = "Notes, by their alias\r\n";
    struct Case
    {
        std::string from;
        Descriptions expected;
    };
    const std::vector<Case> cases = {
        { "none",
          { { "DESCRIPT.ION", none }, { "LONGNA~1.TXT", none }, { "NODIZ.ZIP", none }, { "ONLY.TXT", none },
            { "README.TXT", none }, { "WITHDIZ.ZIP", diz } } },
        { "files-bbs",
          { { "LONGNA~1.TXT", alias }, { "NODIZ.ZIP", nodiz }, { "ONLY.TXT", none },
            { "README.TXT", "Read me (BBS)\r\n" }, { "WITHDIZ.ZIP", diz } } },
        { "descript-ion",
          { { "LONGNA~1.TXT", none }, { "NODIZ.ZIP", none }, { "ONLY.TXT", "Only in DESCRIPT.ION\r\n" },
            { "README.TXT", "Read me (ION)\r\n" }, { "WITHDIZ.ZIP", diz } } },
        { "auto",
          { { "LONGNA~1.TXT", alias }, { "NODIZ.ZIP", nodiz }, { "ONLY.TXT", "Only in DESCRIPT.ION\r\n" },
            { "README.TXT", "Read me (BBS)\r\n" }, { "WITHDIZ.ZIP", diz } } },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.from);
        fs::remove(files / "FILES.LST");
        const CliResult result = kelvane({ "scan", "1", "--descriptions-from", c.from });
        ASSERT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(listed(), c.expected);
    }
    EXPECT_EQ(kelvane({ "scan", "1", "--descriptions-from", "descript.ion" }).status, 2) << "an unknown choice";
}

TEST_F(DescriptionListCommandsTest, ExportedListsReadBackAsTheEntries)
{
    ASSERT_EQ(kelvane({ "scan", "1", "--descriptions-from", "auto" }).status, 0);
    const auto exported = [&](const std::string& format) {
        const fs::path output = board.root() / format;
        const CliResult result = kelvane({ "export", "1", "--format", format, "--output", output.string() });
        EXPECT_EQ(result.status, 0) << result.err;
        Descriptions read;
        const std::string text = TestBoard::readFile(output);
        for (const DescriptionLists::Listed& item : format == "files-bbs" ? DescriptionLists::parseFilesBbs(text)
                                                                          : DescriptionLists::parseDescriptIon(text))
            read[item.name] = item.description;
        return read;
    };
    Descriptions expected = listed();
    EXPECT_EQ(exported("files-bbs"), expected); // the long name written as its alias
    expected["LONG NAME NOTES.TXT"] = expected["LONGNA~1.TXT"];
    expected.erase("LONGNA~1.TXT");
    EXPECT_EQ(exported("descript-ion"), expected); // the long name, as the list reads it, quoted
}

} // namespace
} // namespace Kelvane::Testing
