#include "boardwide/AreaSet.h"
#include "boardwide/BoardProgress.h"
#include "boardwide/BoardReader.h"

#include "board/BoardTool.h"
#include "platform/CodePage.h"
#include "support/TestBoard.h"

#include <sstream>

namespace Kelvane::Testing {
namespace {

AreaSelection named(std::vector<std::string> words)
{
    return { std::move(words), false, {} };
}

TEST(AreaSetTest, WordsRangesTitlesAndGlobs)
{
    // Area 4's record is damaged: its number still names it, no title or glob can.
    const std::vector<std::optional<std::string>> titles
        = { "Utilities", "Games, Demos", "Games & More", std::nullopt, "2-3", "Uploads \xE9t\xE9" };
    const std::vector<std::tuple<AreaSelection, std::vector<int>, bool, std::string>> cases = {
        { named({ "3" }), { 3 }, true, {} },
        { named({ "Utilities" }), { 1 }, true, {} },
        { named({ "Games, Demos" }), { 2 }, true, {} }, // a title holding a comma is taken whole
        { named({ "2-3" }), { 5 }, true, {} }, // and a title that looks like a range
        { named({ "4" }), { 4 }, true, {} },
        { named({ "4-6" }), { 4, 5, 6 }, false, {} },
        { named({ "6,1,1-2" }), { 1, 2, 6 }, false, {} },
        { named({ "Uploads \xC3\xA9t\xC3\xA9", "1" }), { 1, 6 }, false, {} },
        { { {}, true, {} }, { 1, 2, 3, 4, 5, 6 }, false, {} },
        { { {}, false, { "games*" } }, { 2, 3 }, false, {} },
        { { { "1" }, false, { "*\xC3\x89T?" } }, { 1, 6 }, false, {} },
        { named({ "7" }), {}, false, "there is no area \"7\" on this board (it has 6)" },
        { named({ "0" }), {}, false, "there is no area \"0\"" },
        { named({ "Nothing" }), {}, false, "there is no area \"Nothing\"" },
        { named({ "1,Nothing" }), {}, false, "there is no area \"Nothing\"" },
        { named({ "1,,2" }), {}, false, "\"1,,2\" names an empty area" },
        { named({ "5-2" }), {}, false, "the range \"5-2\" runs backwards" },
        { named({ "1-9" }), {}, false, "the range \"1-9\" goes beyond" },
        { { {}, false, { "zz*" } }, {}, false, "no area title on this board matches \"zz*\"" },
    };
    for (const auto& [selection, numbers, single, refusal] : cases) { // refusal: how its text starts
        const std::string label = selection.words.empty() ? "--all/--match" : selection.words.front();
        try {
            const AreaSet set = resolveAreaSet(selection, titles, CodePage::windows1252());
            EXPECT_TRUE(refusal.empty()) << label << " was accepted";
            EXPECT_EQ(set.numbers, numbers) << label;
            EXPECT_EQ(set.single, single) << label;
        } catch (const AreaSetError& error) {
            EXPECT_EQ(std::string(error.what()).rfind(refusal, 0), 0u) << label << ": " << error.what();
            EXPECT_FALSE(refusal.empty()) << label;
        }
    }
}

// Remembers what the reader told it.
class Recorder : public AreaVisitor
{
public:
    void areaRead(AreaContents& contents) override
    {
        std::string names;
        for (const Entry& entry : contents.entries)
            names += entry.FileName + ' ';
        for (const AreaFile& file : contents.files)
            names += '[' + file.name.string() + ':' + std::to_string(file.identity.size) + ']';
        read[contents.area.number] = names;
    }
    void areaSkipped(const AreaProblem& problem) override
    {
        skipped[problem.number] = problem.line(CodePage::windows1252()).toStdString();
    }
    bool stopRequested() override { return stopAfter && static_cast<int>(read.size()) >= stopAfter; }

    std::map<int, std::string> read;
    std::map<int, std::string> skipped;
    int stopAfter = 0;
};

class BoardReaderTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        AreaRecord good = board.simpleRecord("good");
        good.alt[0] = (board.root() / "areas" / "good-extra").string(); // missing: holds no files
        board.addArea(good);
        TestBoard::writeFile(fs::path(good.path) / "FILES.LST",
                             "GAME.ZIP           12 05-17-96 A game\r\n"
                             "                               second line\r\n"
                             "LONGNA~1.ZIP        3 01-02-97 Long\r\n");
        TestBoard::writeFile(fs::path(good.path) / "GAME.ZIP", std::string(12, 'g'));
        TestBoard::writeFile(fs::path(good.path) / "Long Name.zip", "abc");

        AreaRecord missing = board.simpleRecord("missing");
        fs::remove_all(missing.path);
        board.addArea(missing);

        board.addArea(board.simpleRecord("damaged"));

        const AreaRecord unreadable = board.simpleRecord("unreadable");
        fs::create_directory(unreadable.filesList); // a list that is a directory cannot be read
        board.addArea(unreadable);

        AreaRecord offline = board.simpleRecord("offline");
        fs::remove_all(offline.path);
        offline.offline = "Yes";
        board.addArea(offline);

        emptyList = board.simpleRecord("new").filesList;
        board.addArea(board.simpleRecord("new"));

        // Record 3's Files List field claims 128 bytes where 127 fit.
        std::fstream farea(board.mainNode() / "Mwork" / "Farea.dat", std::ios::in | std::ios::out | std::ios::binary);
        farea.seekp(2 * 2048 + 1469);
        farea.put(static_cast<char>(128));
    }

    TestBoard board;
    std::string emptyList;
};

TEST_F(BoardReaderTest, AreasThatCannotBeReadAreSkippedWithOneLineEach)
{
    const Board whole = Board::open(board.mainNode(), CodePage::windows1252());
    ASSERT_EQ(whole.count(), 6);
    BoardReader reader(whole, { .entries = true, .files = true });
    Recorder recorder;
    const ReadSummary summary = reader.read({ 1, 2, 3, 4, 5, 6 }, recorder);

    EXPECT_EQ(summary.areasRead, 2);
    EXPECT_EQ(summary.entries, 2u);
    EXPECT_EQ(recorder.read[1], "GAME.ZIP LONG NAME.ZIP [GAME.ZIP:12][Long Name.zip:3]");
    EXPECT_EQ(recorder.read[6], "");
    EXPECT_FALSE(fs::exists(emptyList)) << "reading never creates a list";
    const std::string areas = (board.root() / "areas").string();
    EXPECT_EQ(recorder.skipped[2], "area 2 (missing): its file directory " + areas + "/missing cannot be found; skipped");
    EXPECT_EQ(recorder.skipped[3].rfind("area 3: its record in Farea.dat is damaged (Farea.dat is damaged: record 3, "
                                        "field Files List path, holds a length of 128",
                                        0),
              0u)
        << recorder.skipped[3];
    EXPECT_EQ(recorder.skipped[4].rfind("area 4 (unreadable): its Files List " + areas + "/unreadable/FILES.LST cannot "
                                        "be read: ",
                                        0),
              0u)
        << recorder.skipped[4];
    EXPECT_EQ(recorder.skipped[5],
              "area 5 (offline): it is offline and its CD is not in the drive (" + areas + "/offline); skipped");
    EXPECT_EQ(summary.skipped.size(), 4u);

    Recorder stopping;
    stopping.stopAfter = 1;
    const ReadSummary stopped = reader.read({ 1, 6 }, stopping);
    EXPECT_TRUE(stopped.stopped);
    EXPECT_EQ(stopping.read.count(6), 0u);
}

TEST(TerminalProgressTest, ALineOnATerminalAndNothingElsewhere)
{
    using namespace std::chrono_literals;
    EXPECT_EQ(TerminalProgress::line(1, 100, "Utilities", 0, 0s, 0), "area 1 of 100  Utilities  0 files");
    EXPECT_EQ(TerminalProgress::line(3, 100, "Games", 21400, 10s, 2),
              "area 3 of 100  Games  21,400 files  about 9 min left");
    EXPECT_EQ(TerminalProgress::line(3, 4, "", 1, 3s, 3), "area 3 of 4  1 file  about 1 s left");

    BoardArea area;
    for (const bool terminal : { false, true }) {
        std::ostringstream err;
        TerminalProgress progress(err, terminal, CodePage::windows1252());
        progress.areaBegun(1, 2, area);
        progress.areaEnded(1, 2, 10);
        progress.finished();
        EXPECT_EQ(err.str().empty(), !terminal);
        if (terminal) {
            EXPECT_EQ(err.str().substr(err.str().size() - 4), "\r\x1b[K") << "the line is cleared at the end";
        }
    }
}

} // namespace
} // namespace Kelvane::Testing
