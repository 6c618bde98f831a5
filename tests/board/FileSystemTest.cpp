#include "board/FileSystem.h"
#include "board/FileLookup.h"
#include "platform/CodePage.h"
#include "support/ScriptedPort.h"
#include "support/TestBoard.h"

namespace Kelvane::Testing {
namespace {

std::vector<fs::path> created;

TEST(FileSystem, PathsAreMadeLevelByLevelCheckedWithoutEnteringAndFilesMadeWritable)
{
    TestBoard board;
    const fs::path deep = board.root() / "one" / "two" / "three";
    setMakeDirectoryFunction([](const fs::path& path) {
        std::error_code error;
        return fs::create_directory(path, error) && (created.push_back(path), true);
    });
    EXPECT_TRUE(MakePath(deep));
    EXPECT_TRUE(MakePath(deep)); // exists: nothing more to make
    setMakeDirectoryFunction(nullptr);
    EXPECT_EQ(created, (std::vector<fs::path> { board.root() / "one", board.root() / "one" / "two", deep }));

    TestBoard::writeFile(board.root() / "file", "x");
    EXPECT_FALSE(MakePath(board.root() / "file" / "below"));
    EXPECT_FALSE(MakePath(""));

    // Only directories that can be entered are valid, and checking one does not enter it.
    const fs::path before = fs::current_path();
    EXPECT_TRUE(IsValidPath(board.root()));
    EXPECT_FALSE(IsValidPath(board.root() / "file"));
    EXPECT_FALSE(IsValidPath(board.root() / "missing"));
    EXPECT_FALSE(IsValidPath(""));
    EXPECT_FALSE(IsValidPath(std::string("/tmp\0x", 6)));
    EXPECT_EQ(fs::current_path(), before);

    // Clearing the attributes makes a file writable.
    const fs::path file = board.root() / "read-only";
    TestBoard::writeFile(file, "x");
    fs::permissions(file, fs::perms::owner_read);
    EXPECT_TRUE(ClearAttributes(file));
    EXPECT_NE(fs::status(file).permissions() & fs::perms::owner_write, fs::perms::none);
    EXPECT_FALSE(ClearAttributes(board.root() / "missing"));
}

TEST(FileSystem, BrowseForFolderCutsAtNul)
{
    ScriptedPort port;
    port.setFolder(QString::fromUtf16(u"/srv/bbs\0junk", 13));
    EXPECT_EQ(BrowseForFolder(port, u"Choose"_s), u"/srv/bbs"_s);
}

TEST(FileLookup, FindsNamesWhateverTheirCaseAndNothingOutsideTheDirectoryAndGivesShortPaths)
{
    TestBoard board;
    const fs::path area = board.root() / "area";
    const fs::path extra = board.root() / "extra";
    for (const char* name : { "Readme.TXT", "README.txt", "Game.zip", ".hidden", "A Long Program Name.zip" })
        TestBoard::writeFile(area / name, "x");
    TestBoard::writeFile(extra / "Other.zip", "x");
    TestBoard::writeFile(board.root() / "outside.zip", "x");
    fs::create_directory(area / "folder.zip");
    fs::create_symlink(area / "Game.zip", area / "link.zip");
    fs::create_symlink(area / "folder.zip", area / "dirlink.zip");

    FileLookup lookup(CodePage::windows1252());
    const std::vector<std::pair<std::string, std::optional<std::string>>> cases = {
        { "GAME.ZIP", "Game.zip" },      { "readme.txt", "README.txt" }, // the first spelling in sorted order
        { "Readme.TXT", "Readme.TXT" },  { "README.txt", "README.txt" }, // the exact spelling wins
        { "link.zip", "link.zip" },      { "ALONGP~1.ZIP", "A Long Program Name.zip" },
        { "dirlink.zip", std::nullopt }, { "folder.zip", std::nullopt },
        { ".hidden", std::nullopt },     { "../outside.zip", std::nullopt },
        { "..", std::nullopt },          { ".", std::nullopt },
        { "/etc/passwd", std::nullopt }, { "", std::nullopt },
    };
    for (const auto& [name, expected] : cases) {
        const std::optional<fs::path> found = lookup.find(area, name);
        if (expected)
            EXPECT_EQ(found, area / *expected) << name;
        else
            EXPECT_EQ(found, std::nullopt) << name;
    }
    DirectoryPaths slots;
    slots[0] = area;
    slots[3] = extra;
    EXPECT_EQ(lookup.findInSlots(slots, "other.ZIP"), std::make_pair(3, extra / "Other.zip"));
    EXPECT_EQ(lookup.findInSlots(slots, "missing"), std::nullopt);

    // A directory is listed once per operation.
    TestBoard::writeFile(area / "second.zip", "x");
    EXPECT_FALSE(lookup.find(area, "second.zip"));
    lookup.forget(area);
    EXPECT_TRUE(lookup.find(area, "second.zip"));

    // A short path is the alias, or the blank fall-back for a missing file.
    DirectoryListing listing(area, CodePage::windows1252());
    EXPECT_EQ(ShortPathOf(area / "A Long Program Name.zip", listing),
              QString::fromStdString((area / "ALONGP~1.ZIP").string()));
    EXPECT_EQ(ShortPathOf(area / "missing.zip", listing), QString(256, u' '));
}

} // namespace
} // namespace Kelvane::Testing
