#include "boardwide/Dupes.h"

#include "platform/CodePage.h"
#include "support/TestBoard.h"

#include <algorithm>

namespace Kelvane::Testing {
namespace {

// Alpha lists FOO.ZIP and BAR.ZIP (whose file is gone) and holds a long-named report and an
// empty file; Beta holds foo.zip (the same bytes as Alpha's), another FOO.ZIP of other bytes
// in its second directory, a copy of the report under another name, and lists the report by
// its short alias; Gamma's directory is gone.
class DupesTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        AreaRecord alpha = board.simpleRecord("Alpha");
        TestBoard::writeFile(fs::path(alpha.path) / "FILES.LST",
                             "FOO.ZIP             4 01-02-97 Foo\r\nBAR.ZIP            10 01-03-97 Bar\r\n");
        TestBoard::writeFile(fs::path(alpha.path) / "FOO.ZIP", "same");
        TestBoard::writeFile(fs::path(alpha.path) / "Long Report Name.txt", "report");
        TestBoard::writeFile(fs::path(alpha.path) / "EMPTY.TXT", "");
        TestBoard::writeFile(fs::path(alpha.path) / "EMPTY2.TXT", "");
        board.addArea(alpha);

        AreaRecord beta = board.simpleRecord("Beta");
        const fs::path second = board.root() / "areas" / "Beta2";
        fs::create_directories(second);
        beta.alt[0] = second.string();
        TestBoard::writeFile(fs::path(beta.path) / "FILES.LST", "LONGRE~1.TXT        6 02-02-97 Report\r\n");
        TestBoard::writeFile(fs::path(beta.path) / "foo.zip", "same");
        TestBoard::writeFile(second / "FOO.ZIP", "diff");
        TestBoard::writeFile(fs::path(beta.path) / "COPY.BIN", "report");
        board.addArea(beta);

        AreaRecord gamma = board.simpleRecord("Gamma");
        fs::remove_all(gamma.path);
        board.addArea(gamma);
    }

    DupesReport find(DupesBy by, DupesHashCache* cache = nullptr, DigestReader reader = digestOfFile)
    {
        const Board opened = Board::open(board.mainNode(), CodePage::windows1252());
        return findDuplicates(opened, { 1, 2, 3 }, { .by = by, .cache = cache, .readDigest = std::move(reader) });
    }

    // "name FOO.ZIP: 1 FOO.ZIP listed | 2 foo.zip | ..." for each group.
    static std::vector<std::string> described(const DupesReport& report)
    {
        std::vector<std::string> lines;
        for (const DupeGroup& group : report.groups) {
            std::string line = group.kind == DupeGroup::Kind::Name ? "name " + group.key : "content";
            for (const DupeCopy& copy : group.copies) {
                line += (&copy == &group.copies.front() ? ": " : " | ") + std::to_string(copy.area) + ' ' + copy.name;
                if (copy.listed())
                    line += " listed";
                if (!copy.hasFile())
                    line += " nofile";
            }
            lines.push_back(line);
        }
        return lines;
    }

    TestBoard board;
};

TEST_F(DupesTest, GroupsByNameContentOrBoth)
{
    const std::vector<std::string> byName = {
        "name FOO.ZIP: 1 FOO.ZIP listed | 2 foo.zip | 2 FOO.ZIP",
        "name LONG REPORT NAME.TXT: 1 Long Report Name.txt | 2 LONGRE~1.TXT listed nofile",
    };
    const std::vector<std::string> byContent = {
        "content: 1 FOO.ZIP listed | 2 foo.zip",
        "content: 1 Long Report Name.txt | 2 COPY.BIN",
    };
    std::vector<std::string> both = byName;
    both.insert(both.end(), byContent.begin(), byContent.end());
    const std::tuple<DupesBy, std::vector<std::string>, std::uintmax_t> cases[]
        = { { DupesBy::Name, byName, 8 }, { DupesBy::Content, byContent, 10 }, { DupesBy::Both, both, 14 } };
    for (const auto& [by, groups, extraBytes] : cases) {
        const DupesReport report = find(by);
        EXPECT_EQ(described(report), groups);
        EXPECT_EQ(report.extraBytes, extraBytes);
        ASSERT_EQ(report.skipped.size(), 1u);
        EXPECT_EQ(report.skipped[0].number, 3);
        // Only files sharing their size are read: never the empty ones, never BAR.ZIP.
        EXPECT_EQ(report.filesRead, by == DupesBy::Name ? 0u : 5u);
    }
    const DupesReport report = find(DupesBy::Name);
    EXPECT_EQ(report.groups[0].copies[0].date, "01-02-97");
    EXPECT_EQ(report.groups[0].copies[1].size, 4u);
}

TEST_F(DupesTest, AWarmCacheReadsNoFileAChangedFileIsReadAgainAndADamagedCacheIsIgnoredWhole)
{
    int reads = 0;
    const DigestReader counting = [&](const fs::path& path, QString& reason) {
        ++reads;
        return digestOfFile(path, reason);
    };
    const fs::path path = board.programDirectory() / "DUPES.HSH";
    QString problem;
    DupesHashCache cache;
    find(DupesBy::Content, &cache, counting);
    EXPECT_EQ(reads, 5);
    ASSERT_TRUE(cache.save(path, problem)) << problem.toStdString();

    DupesHashCache warm;
    warm.load(path, problem);
    EXPECT_TRUE(problem.isEmpty());
    reads = 0;
    EXPECT_EQ(described(find(DupesBy::Content, &warm, counting)).size(), 2u);
    EXPECT_EQ(reads, 0);
    EXPECT_FALSE(warm.changed());

    const fs::path changed = board.root() / "areas" / "Beta" / "COPY.BIN";
    TestBoard::writeFile(changed, "rePort");
    fs::last_write_time(changed, fs::last_write_time(changed) + std::chrono::hours(1));
    warm.load(path, problem); // a new run
    reads = 0;
    EXPECT_EQ(described(find(DupesBy::Content, &warm, counting)).size(), 1u);
    EXPECT_EQ(reads, 1);
    warm.dropUntouched();
    EXPECT_EQ(warm.size(), 5u);
    // Saved over the file its records were loaded from, and loaded again.
    ASSERT_TRUE(warm.save(path, problem)) << problem.toStdString();
    warm.load(path, problem);
    reads = 0;
    EXPECT_EQ(described(find(DupesBy::Content, &warm, counting)).size(), 1u);
    EXPECT_EQ(reads, 0);

    // A damaged or foreign cache is ignored whole.
    const std::string sound = cache.serialize();
    ASSERT_TRUE(DupesHashCache::parse(sound));
    EXPECT_EQ(DupesHashCache::parse(sound)->size(), 5u);
    std::string flipped = sound;
    flipped[40] = static_cast<char>(flipped[40] ^ 1);
    std::string version = sound;
    version[4] = 2;
    for (const std::string& bad : { sound.substr(0, sound.size() - 1), flipped, version, std::string("KVHC"),
                                    std::string("not a cache at all, just text"), std::string() })
        EXPECT_FALSE(DupesHashCache::parse(bad)) << bad.size();

    TestBoard::writeFile(path, flipped);
    DupesHashCache loaded;
    loaded.load(path, problem);
    EXPECT_EQ(loaded.size(), 0u);
    EXPECT_EQ(problem.toStdString(),
              "the hash cache " + path.string() + " is damaged or not Kelvane's; it is ignored and rebuilt");
}

TEST_F(DupesTest, BadFilesAreOneLineEachAndRemovalKeepsOneFileAndNeverChangesAReadOnlyArea)
{
    // A file that vanishes between the listing and its turn to be hashed.
    const fs::path vanishing = board.root() / "areas" / "Beta" / "COPY.BIN";
    const DigestReader vanish = [&](const fs::path& path, QString& reason) {
        fs::remove(vanishing);
        return digestOfFile(path, reason);
    };
    // A name Windows-1252 cannot show is taken as its short alias.
    TestBoard::writeFile(board.root() / "areas" / "Beta" / "\xE6\x97\xA5\xE6\x9C\xAC.zip", "japan");
    const DupesReport report = find(DupesBy::Both, nullptr, vanish);
    EXPECT_EQ(report.filesLeftOut, 1u);
    ASSERT_EQ(report.notices.size(), 2u);
    EXPECT_NE(report.notices[0].indexOf(u"cannot be shown in Windows-1252; it is taken as"_s), -1)
        << report.notices[0].toStdString();
    EXPECT_EQ(report.notices[1].toStdString(),
              "area 2: " + vanishing.string() + ": it vanished before it could be read; it is left out");
    EXPECT_EQ(described(report).size(), 3u); // the report's content group is gone with its copy

    // Removal keeps one file and never changes a read-only area or the kept file.
    AreaRecord cd = board.simpleRecord("CD");
    cd.cdrom = "Yes";
    TestBoard::writeFile(fs::path(cd.path) / "FOO.ZIP", "cd!!");
    board.addArea(cd);
    // Beta's second directory is Alpha's file directory: its FOO.ZIP is Alpha's own file.
    AreaRecord shared = board.simpleRecord("Shared");
    shared.path = (board.root() / "areas" / "Alpha").string();
    shared.filesList = (board.root() / "areas" / "Shared" / "FILES.LST").string();
    TestBoard::writeFile(shared.filesList, "FOO.ZIP             4 01-02-97 Foo\r\n");
    board.addArea(shared);
    fs::last_write_time(board.root() / "areas" / "Beta2" / "FOO.ZIP",
                        fs::last_write_time(board.root() / "areas" / "Alpha" / "FOO.ZIP") + std::chrono::hours(1));
    fs::last_write_time(board.root() / "areas" / "Beta" / "foo.zip",
                        fs::last_write_time(board.root() / "areas" / "Alpha" / "FOO.ZIP") - std::chrono::hours(1));

    const Board opened = Board::open(board.mainNode(), CodePage::windows1252());
    const DupesReport byName = findDuplicates(opened, { 1, 2, 4, 5 }, { .by = DupesBy::Name });
    using A = DupeRemoval::Action;
    // Copies: Alpha FOO.ZIP (listed), Beta foo.zip (oldest), Beta2 FOO.ZIP (newest), CD, Shared.
    const std::vector<std::pair<DupesKeep, std::vector<A>>> cases = {
        { DupesKeep::First, { A::Keep, A::DeleteFile, A::DeleteFile, A::LeaveReadOnly, A::EraseEntry } },
        { DupesKeep::Oldest, { A::Delete, A::Keep, A::DeleteFile, A::LeaveReadOnly, A::EraseEntry } },
        { DupesKeep::Newest, { A::Delete, A::DeleteFile, A::Keep, A::LeaveReadOnly, A::EraseEntry } },
    };
    // Shared also repeats Alpha's other names; FOO.ZIP is the group of interest.
    const auto foo = std::find_if(byName.groups.begin(), byName.groups.end(),
                                  [](const DupeGroup& group) { return group.key == "FOO.ZIP"; });
    ASSERT_NE(foo, byName.groups.end());
    EXPECT_EQ(described({ { *foo }, {}, {}, 0, 0, 0 })[0],
              "name FOO.ZIP: 1 FOO.ZIP listed | 2 foo.zip | 2 FOO.ZIP | 4 FOO.ZIP | 5 FOO.ZIP listed");
    for (const auto& [keep, expected] : cases) {
        std::vector<A> actions;
        for (const DupeRemoval& removal : planRemoval(opened, *foo, keep))
            actions.push_back(removal.action);
        EXPECT_EQ(actions, expected) << static_cast<int>(keep);
    }
}

TEST_F(DupesTest, TheContentAloneGivesTheContentGroupsOfBothCopyForCopy)
{
    // Delta: two DUP.ZIP of one name in its two directories, claimed by its two entries in
    // directory order, an unlisted copy, a long name listed by its alias, names whose order
    // differs by case ("Aa.zip" before "a_b.zip" in upper case) and a backup of the board's own.
    AreaRecord delta = board.simpleRecord("Delta");
    const fs::path second = board.root() / "areas" / "Delta2";
    fs::create_directories(second);
    delta.alt[0] = second.string();
    const fs::path first = delta.path;
    TestBoard::writeFile(first / "FILES.LST",
                         "DUP.ZIP             4 03-01-97 First\r\nDUP.ZIP             4 03-02-97 "
                         "Second\r\nLONGNA~1.ZIP        5 03-03-97 Alias\r\n");
    TestBoard::writeFile(first / "dup.zip", "twin");
    TestBoard::writeFile(second / "DUP.ZIP", "twin");
    TestBoard::writeFile(first / "UNLISTED.ZIP", "twin");
    TestBoard::writeFile(first / "Long Name File.zip", "long!");
    TestBoard::writeFile(first / "a_b.zip", "same");
    TestBoard::writeFile(first / "Aa.zip", "same");
    TestBoard::writeFile(first / "FILES.BAK", "same");
    board.addArea(delta);
    // Epsilon: names outside ASCII, one the page can show and listed, one it cannot.
    AreaRecord epsilon = board.simpleRecord("Epsilon");
    TestBoard::writeFile(fs::path(epsilon.path) / "FILES.LST", "CAF\xC9.ZIP            4 04-01-97 Cafe\r\n");
    TestBoard::writeFile(fs::path(epsilon.path) / "caf\xC3\xA9.zip", "twin");
    TestBoard::writeFile(fs::path(epsilon.path) / "\xE6\x97\xA5\xE6\x9C\xAC.zip", "long!");
    TestBoard::writeFile(fs::path(epsilon.path) / "LONG.ZIP", "long!");
    board.addArea(epsilon);
    // Names of files named already, never copies of them: Delta's LINKED.ZIP, a second link to
    // its dup.zip; Zeta, which lists Delta's second directory again; Eta's symbolic link to
    // Alpha's FOO.ZIP.
    fs::create_hard_link(first / "dup.zip", first / "LINKED.ZIP");
    AreaRecord zeta = board.simpleRecord("Zeta");
    zeta.path = second.string();
    zeta.filesList = (board.root() / "areas" / "Zeta" / "FILES.LST").string();
    TestBoard::writeFile(zeta.filesList, "DUP.ZIP             4 05-01-97 Again\r\n");
    board.addArea(zeta);
    AreaRecord eta = board.simpleRecord("Eta");
    fs::create_directories(eta.path);
    fs::create_symlink(board.root() / "areas" / "Alpha" / "FOO.ZIP", fs::path(eta.path) / "POINTER.ZIP");
    board.addArea(eta);

    const Board opened = Board::open(board.mainNode(), CodePage::windows1252());
    const auto contentOf = [&](const std::vector<int>& numbers, DupesBy by) {
        DupesReport report = findDuplicates(opened, numbers, { .by = by });
        std::erase_if(report.groups, [](const DupeGroup& group) { return group.kind != DupeGroup::Kind::Content; });
        return report;
    };
    const auto copies = [](const DupesReport& report) {
        std::vector<std::string> lines;
        for (const DupeGroup& group : report.groups) {
            lines.push_back(group.key);
            for (const DupeCopy& copy : group.copies)
                lines.push_back(std::to_string(copy.area) + ' ' + std::to_string(copy.slot) + ' '
                                + std::to_string(copy.entry) + ' ' + copy.name + '|' + copy.diskName + '|' + copy.date
                                + ' ' + std::to_string(copy.size) + ' ' + std::to_string(copy.identity.inode));
        }
        return lines;
    };
    const auto skipped = [](const DupesReport& report) {
        std::vector<int> numbers;
        for (const AreaProblem& problem : report.skipped)
            numbers.push_back(problem.number);
        return numbers;
    };
    // Without Epsilon every area is plain ASCII; without Eta no name is a symbolic link.
    for (const std::vector<int>& numbers : { std::vector<int> { 1, 2, 3, 4, 6 }, std::vector<int> { 1, 2, 4, 7 },
                                             std::vector<int> { 1, 2, 3, 4, 5, 6, 7 } }) {
        const DupesReport alone = contentOf(numbers, DupesBy::Content);
        const DupesReport both = contentOf(numbers, DupesBy::Both);
        EXPECT_EQ(copies(alone), copies(both)) << numbers.size();
        EXPECT_EQ(alone.notices, both.notices) << numbers.size();
        EXPECT_EQ(alone.filesRead, both.filesRead) << numbers.size();
        EXPECT_EQ(skipped(alone), skipped(both)) << numbers.size();
    }
    const DupesReport alone = contentOf({ 1, 2, 3, 4, 5, 6, 7 }, DupesBy::Content);
    EXPECT_EQ(described(alone),
              (std::vector<std::string> {
                  "content: 1 FOO.ZIP listed | 2 foo.zip | 4 Aa.zip | 4 a_b.zip",
                  "content: 1 Long Report Name.txt | 2 COPY.BIN",
                  "content: 4 DUP.ZIP listed | 4 UNLISTED.ZIP | 4 DUP.ZIP listed | 5 CAF\xC9.ZIP listed",
                  "content: 4 LONG NAME FILE.ZIP listed | 5 LONG.ZIP | 5 __~1.ZIP",
              }));
    const std::vector<DupeCopy>& twins = alone.groups[2].copies;
    EXPECT_EQ(twins[0].date + ' ' + twins[2].date, "03-01-97 03-02-97");
    EXPECT_EQ(alone.notices.size(), 1u);
}

} // namespace
} // namespace Kelvane::Testing
