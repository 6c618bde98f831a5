#include "boardwide/BoardSearch.h"

#include "platform/CodePage.h"
#include "support/TestBoard.h"

namespace Kelvane::Testing {
namespace {

// Keeps what the search told it, and cancels when told to.
class Collector : public SearchSink
{
public:
    void areaSearched(const BoardArea& area, int, int, std::vector<SearchHit>& found) override
    {
        for (const SearchHit& hit : found)
            hits[area.number] += hit.name + ':' + std::to_string(hit.index) + ':' + std::to_string(hit.size) + ':'
                + hit.date + ':' + hit.firstLine + ' ';
        searched.push_back(area.number);
    }
    void areaSkipped(const AreaProblem& problem) override { skipped.push_back(problem.number); }
    bool cancelRequested() override { return ++asked > cancelAfterAsking && cancelAfterAsking >= 0; }

    std::map<int, std::string> hits;
    std::vector<int> searched;
    std::vector<int> skipped;
    int asked = 0;
    int cancelAfterAsking = -1;
};

TEST(BoardSearchTest, WildcardsOnNamesTextInDescriptionsHitsAreaByAreaAndACancelWithinAnArea)
{
    const Entry doom { "DOOM2.ZIP", " 10", "05-17-96", "Hell on Earth\r\nby id \xC9QUIPE *beta*\r\n" };
    const Entry readme { "READ.ME", " 1", "01-02-03", "Doom level editor\r\n" };
    const std::vector<std::tuple<QString, SearchIn, bool, bool>> cases = {
        { u"doom"_s, SearchIn::Names, true, false }, // no wildcard: a part of the name
        { u"doom"_s, SearchIn::Descriptions, false, true },
        { u"doom"_s, SearchIn::Both, true, true },
        { u"*.zip"_s, SearchIn::Names, true, false },
        { u"d??m?.zip"_s, SearchIn::Names, true, false },
        { u"d?m*"_s, SearchIn::Names, false, false },
        { u"read.*"_s, SearchIn::Names, false, true },
        { u"*.M"_s, SearchIn::Names, false, false }, // a wildcard pattern takes the whole name
        { u"*o*o*2*"_s, SearchIn::Names, true, false },
        { u"EARTH"_s, SearchIn::Descriptions, true, false },
        { u"earth by"_s, SearchIn::Descriptions, false, false }, // not across a line end
        { u"équipe"_s, SearchIn::Descriptions, true, false }, // case folded by the code page
        { u"*beta*"_s, SearchIn::Descriptions, true, false }, // "*" is plain text here
        { u"*"_s, SearchIn::Descriptions, true, false },
        { u"????.me"_s, SearchIn::Names, false, true },
    };
    for (const auto& [pattern, in, doomMatches, readmeMatches] : cases) {
        const SearchPattern search(pattern, in, CodePage::windows1252());
        EXPECT_EQ(search.matches(doom), doomMatches) << pattern.toStdString() << " in " << int(in);
        EXPECT_EQ(search.matches(readme), readmeMatches) << pattern.toStdString() << " in " << int(in);
    }
    for (const QString& bad : { u""_s, u"\u4E2D.zip"_s })
        EXPECT_THROW(SearchPattern(bad, SearchIn::Both, CodePage::windows1252()), SearchPatternError);

    // Over a board, hits arrive area by area and a cancel stops within an area.
    TestBoard board;
    const AreaRecord first = board.simpleRecord("first");
    board.addArea(first);
    TestBoard::writeFile(fs::path(first.filesList), "DOOM.ZIP           12 05-17-96 The game\r\n"
                                                    "                               of the year\r\n"
                                                    "QUAKE.ZIP           3 01-02-97 Not doom at all\r\n");
    AreaRecord missing = board.simpleRecord("missing");
    fs::remove_all(missing.path);
    board.addArea(missing);
    const AreaRecord big = board.simpleRecord("big");
    board.addArea(big);
    std::string list;
    for (int i = 0; i < 10000; ++i)
        list += "DOOM" + std::to_string(10000 + i).substr(1) + ".ZIP       1 05-17-96 x\r\n";
    TestBoard::writeFile(fs::path(big.filesList), list);

    const Board whole = Board::open(board.mainNode(), CodePage::windows1252());
    const SearchPattern names(u"doom*"_s, SearchIn::Names, whole.codePage());
    BoardSearch search(whole, names);
    Collector all;
    const SearchSummary summary = search.run({ 1, 2, 3 }, all);
    EXPECT_EQ(all.hits[1], "DOOM.ZIP:0:12:05-17-96:The game ");
    EXPECT_EQ(all.searched, (std::vector<int> { 1, 3 }));
    EXPECT_EQ(all.skipped, (std::vector<int> { 2 }));
    EXPECT_EQ(summary.hits, 10001u);
    EXPECT_EQ(summary.entries, 10002u);
    EXPECT_FALSE(summary.cancelled);

    // Asked before areas 1 and 3 and then within area 3: the hits before the cancel still come.
    Collector cancelling;
    cancelling.cancelAfterAsking = 2;
    const SearchSummary cancelled = search.run({ 1, 3 }, cancelling);
    EXPECT_TRUE(cancelled.cancelled);
    EXPECT_EQ(cancelled.hits, 1u + BoardSearch::CancelStride);
    EXPECT_EQ(cancelling.searched, (std::vector<int> { 1, 3 }));
}

} // namespace
} // namespace Kelvane::Testing
