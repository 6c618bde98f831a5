#include "cli/CliRunner.h"

#include "board/DemoBoard.h"
#include "platform/CodePage.h"
#include "support/TestBoard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kelvane::Testing {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace fs = std::filesystem;

// The demo board's games area lists KEEN1.ZIP coloured and with an advert; its CD-ROM area
// lists SIMTEL.ZIP with an @X code; the rules file beside it names the advert.
TEST(CleanCommandTest, ADryRunShowsYesWritesAndACdRomAreaIsLeftAlone)
{
    TestBoard board;
    const fs::path demo = board.root() / "demo";
    const std::string node = DemoBoard::build(demo, CodePage::windows1252()).string();
    const std::string rules = (demo / "clean-rules.txt").string();
    const fs::path games = demo / "files" / "games" / "FILES.LST";
    const fs::path cdrom = demo / "files" / "cdrom" / "FILES.LST";
    const fs::path utils = demo / "files" / "utils" / "FILES.LST";
    const std::string gamesBefore = TestBoard::readFile(games);
    const std::string cdromBefore = TestBoard::readFile(cdrom);
    const std::string utilsBefore = TestBoard::readFile(utils);

    const CliResult dry = runKelvaneOn(node, { "clean", "--all", "--rules", rules, "--dry-run" });
    EXPECT_EQ(dry.status, 0) << dry.err;
    EXPECT_THAT(dry.out,
                HasSubstr("KEEN1.ZIP\n  - |11Commander Keen 1: |07Marooned on Mars\n  - \n  - \n"
                          "  - -=- Uploaded to The Night Owl BBS -=-\n  - \n"
                          "  + Commander Keen 1: Marooned on Mars\n"));
    EXPECT_THAT(dry.out, HasSubstr("area 1 (General Utilities): 0 of 5 descriptions unchanged\n"));
    EXPECT_THAT(dry.out, HasSubstr("area 2 (Games (three directories)): 1 of 3 descriptions would change\n"));
    EXPECT_THAT(dry.out,
                HasSubstr("area 3 (Shareware CD-ROM): 1 of 2 descriptions would change; left alone, the "
                          "area is on a CD-ROM or offline\n"));
    EXPECT_THAT(dry.out, HasSubstr("total: 1 description would change in 1 area\n"));
    EXPECT_EQ(TestBoard::readFile(games), gamesBefore);

    // Only the built-in rules, without the colour codes: the advert and the codes stay.
    const CliResult kept = runKelvaneOn(node, { "clean", "2", "--keep", "colour-codes", "--dry-run" });
    EXPECT_THAT(kept.out,
                HasSubstr("  + |11Commander Keen 1: |07Marooned on Mars\n"
                          "  + \n  + -=- Uploaded to The Night Owl BBS -=-\narea 2 ("));
    EXPECT_EQ(runKelvaneOn(node, { "clean", "2", "--keep", "colours" }).status, 2);

    TestBoard::writeFile(demo / "bad.txt", "Uploaded to\n# fine so far\n([a-\n");
    const CliResult refused = runKelvaneOn(node, { "clean", "--all", "--rules", (demo / "bad.txt").string(), "--yes" });
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(
        refused.err,
        StartsWith("kelvane: " + (demo / "bad.txt").string() + " line 3: invalid regular expression \"([a-\": "));
    EXPECT_EQ(TestBoard::readFile(games), gamesBefore);

    const CliResult done = runKelvaneOn(node, { "clean", "--all", "--rules", rules, "--yes" });
    EXPECT_EQ(done.status, 0) << done.err;
    EXPECT_THAT(done.out, HasSubstr("total: 1 description cleaned in 1 area\n"));
    EXPECT_THAT(TestBoard::readFile(games),
                HasSubstr("1024 12-14-90 Commander Keen 1: Marooned on Mars           \r\nHERETIC.ZIP"));
    EXPECT_THAT(TestBoard::readFile(games), Not(HasSubstr("Night Owl")));
    EXPECT_EQ(TestBoard::readFile(cdrom), cdromBefore);
    EXPECT_EQ(TestBoard::readFile(utils), utilsBefore);
    EXPECT_FALSE(fs::exists(utils.parent_path() / "FILES.BAK"));
}

} // namespace
} // namespace Kelvane::Testing
