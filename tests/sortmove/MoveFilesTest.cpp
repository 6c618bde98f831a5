#include "editor/EditorFixture.h"

#include "sortmove/MoveFiles.h"

namespace Kelvane::Testing {
namespace {

class MoveFilesTest : public EditorFixture
{
protected:
    void SetUp() override
    {
        EditorFixture::SetUp();
        AreaRecord target = board.simpleRecord("target");
        targetFiles = target.path;
        targetList = target.filesList;
        TestBoard::writeFile(targetList, "");
        targetNumber = board.addArea(target);
    }

    fs::path targetFiles;
    fs::path targetList;
    int targetNumber = 0;
};

TEST_F(MoveFilesTest, RefusesTargetsInTheChoosersOrderAndMovesFilesAppendingTheirEntriesAtOnce)
{
    const std::vector<std::tuple<const char*, std::function<AreaRecord()>, const char*>> cases = {
        { "an offline target gets the CD-ROM text",
          [&] {
              AreaRecord r = board.simpleRecord("offline");
              r.offline = "Yes";
              return r;
          },
          "NoMoveFileToCDROM" },
        { "a target without a Files List yet", [&] { return board.simpleRecord("no list"); }, "ReadOnlyDrive" },
        { "a target whose list directory is missing",
          [&] {
              AreaRecord r = board.simpleRecord("no list directory");
              r.filesList = (board.root() / "gone" / "FILES.LST").string();
              return r;
          },
          "CanNotFindFileListPath" },
    };
    for (const auto& [what, make, alert] : cases) {
        SCOPED_TRACE(what);
        const int number = board.addArea(make());
        port.expectAlert(alert, Answer::Ok, { QString::fromStdString(board.mainNode().string()), {} });
        EXPECT_FALSE(acceptMoveTarget(*session, number));
    }
    port.expectAlert("NoMoveSameFileArea");
    EXPECT_FALSE(acceptMoveTarget(*session, session->area.AreaNumber));
    EXPECT_EQ(session->target.TargetAreaNumber, 0);
    EXPECT_TRUE(acceptMoveTarget(*session, targetNumber));

    // To a fit target, files move and their entries are appended at once.
    TestBoard::writeFile(fs::path(record.alt[0]) / "Game.zip", "game");
    TestBoard::writeFile(files / "CLASH.ZIP", "source copy");
    TestBoard::writeFile(targetFiles / "clash.zip", "target copy");
    TestBoard::writeFile(files / "STAY.ZIP", "stay");
    load({ { "GAME.ZIP", " 4", "01-02-96", "A game\r\n" },
           { "CLASH.ZIP", " 11", "01-02-96", "" },
           { "STAY.ZIP", " 4", "01-02-96", "x\r\n" },
           { "GONE.ZIP", "7", "01-02-96", "Missing\r\n" } },
         { 0, 1, 3 });
    ASSERT_TRUE(acceptMoveTarget(*session, targetNumber));
    EXPECT_EQ(MoveFiles(*session, table), 3u);

    EXPECT_EQ(names(), std::vector<std::string> { "STAY.ZIP" });
    EXPECT_EQ(TestBoard::readFile(targetFiles / "GAME.ZIP"), "game");
    EXPECT_FALSE(fs::exists(fs::path(record.alt[0]) / "Game.zip"));
    // The target's copy of a name it already holds stays; the source copy is deleted.
    EXPECT_EQ(TestBoard::readFile(targetFiles / "clash.zip"), "target copy");
    EXPECT_FALSE(fs::exists(files / "CLASH.ZIP"));
    const std::string blank(45, ' ');
    EXPECT_EQ(TestBoard::readFile(targetList),
              "GAME.ZIP            4 01-02-96 A game" + std::string(39, ' ')
                  + "\r\n"
                    "CLASH.ZIP          11 01-02-96 "
                  + blank
                  + "\r\n"
                    "GONE.ZIP            7 01-02-96 Missing"
                  + std::string(38, ' ') + "\r\n");
    EXPECT_TRUE(session->ChangesMade);
    EXPECT_EQ(session->makeIndexList, std::vector<int> { session->area.AreaNumber });
}

} // namespace
} // namespace Kelvane::Testing
