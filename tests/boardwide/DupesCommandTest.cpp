#include "cli/CliRunner.h"

#include "board/FileDates.h"

namespace Kelvane::Testing {
namespace {

using DupesCommandTest = DemoCliTest;

TEST_F(DupesCommandTest, TheDemoBoardsDuplicateInTextAndJsonAndADamagedCacheIsOneLineAndRebuilt)
{
    const std::string size = std::to_string(fs::file_size(utils / "MULTI.ZIP"));
    const auto text = kelvane({ "dupes", "--all" });
    EXPECT_EQ(text.status, 0) << text.err;
    EXPECT_EQ(text.out,
              "Same name: MULTI.ZIP (2 copies)\n  area 1 (General Utilities)  MULTI.ZIP  " + size + " bytes  "
                  + fileListDate(utils / "MULTI.ZIP") + "  " + (utils / "MULTI.ZIP").string()
                  + "  not in the Files List\n  area 3 (Shareware CD-ROM)  MULTI.ZIP  " + size + " bytes  03-15-96  "
                  + (cdrom / "MULTI.ZIP").string()
                  + "  in the Files List\n1 group of duplicates; the extra copies take " + size + " bytes\n");

    const auto json = kelvane({ "dupes", "1-3", "--by", "both", "--json" });
    EXPECT_EQ(json.status, 0) << json.err;
    const QJsonObject document = QJsonDocument::fromJson(QByteArray::fromStdString(json.out)).object();
    const QJsonArray groups = document[u"groups"_s].toArray();
    ASSERT_EQ(groups.size(), 2) << json.out;
    EXPECT_EQ(groups[1][u"by"_s].toString(), u"content"_s);
    EXPECT_EQ(groups[1][u"copies"_s][1][u"listed"_s].toBool(), true);
    EXPECT_EQ(document[u"extra_bytes"_s].toInteger(), std::stoll(size)); // the one extra file, once

    // A damaged hash cache is one line and is rebuilt.
    const fs::path cache = board.programDirectory() / "DUPES.HSH";
    const auto first = kelvane({ "dupes", "--all", "--by", "content" });
    EXPECT_EQ(first.status, 0) << first.err;
    ASSERT_TRUE(fs::exists(cache));
    TestBoard::writeFile(cache, "KVHC and then nothing that belongs here");
    const auto again = kelvane({ "dupes", "--all", "--by", "content" });
    EXPECT_EQ(again.status, 0);
    EXPECT_EQ(again.out, first.out);
    EXPECT_EQ(again.err,
              "kelvane: the hash cache " + cache.string()
                  + " is damaged or not Kelvane's; it is ignored and rebuilt\n");
    EXPECT_NE(TestBoard::readFile(cache), "KVHC and then nothing that belongs here");
}

TEST_F(DupesCommandTest, RemovingExtraCopiesNeedsYesAndGoesThroughTheEditorsDelete)
{
    const auto refused = kelvane({ "dupes", "--all", "--remove-extra" });
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find("--remove-extra needs --yes"), std::string::npos) << refused.err;
    EXPECT_TRUE(fs::exists(utils / "MULTI.ZIP"));

    // The CD-ROM copy is never changed, whichever copy is kept.
    const auto plan = kelvane({ "dupes", "--all", "--remove-extra", "--dry-run" });
    EXPECT_EQ(plan.status, 0) << plan.err;
    EXPECT_NE(plan.out.find((cdrom / "MULTI.ZIP").string() + " (area 3): would be left alone, the area is on a CD-ROM"),
              std::string::npos)
        << plan.out;
    const auto newest = kelvane({ "dupes", "--all", "--remove-extra", "--keep", "newest", "--yes" });
    EXPECT_EQ(newest.status, 0) << newest.err;
    EXPECT_NE(newest.out.find("deleted " + (utils / "MULTI.ZIP").string() + " (area 1)"), std::string::npos);
    EXPECT_FALSE(fs::exists(utils / "MULTI.ZIP"));
    EXPECT_TRUE(fs::exists(cdrom / "MULTI.ZIP"));

    // A listed copy in the indexed uploads area: its file and entry go, the list is saved
    // with its backup, and the Make Index question (answered by --yes) comes at the end.
    const fs::path uploads = demo / "files" / "uploads";
    fs::copy_file(utils / "ARCHIVER.ZIP", uploads / "ARCHIVER.ZIP");
    TestBoard::writeFile(uploads / "FILES.LST",
                         TestBoard::readFile(uploads / "FILES.LST")
                             + "ARCHIVER.ZIP       99 05-17-96 The same archiver\r\n");
    const auto removed = kelvane({ "dupes", "1,5", "--by", "content", "--remove-extra", "--yes" });
    EXPECT_EQ(removed.status, 0) << removed.err;
    EXPECT_FALSE(fs::exists(uploads / "ARCHIVER.ZIP"));
    EXPECT_TRUE(fs::exists(utils / "ARCHIVER.ZIP"));
    EXPECT_EQ(TestBoard::readFile(uploads / "FILES.LST").find("ARCHIVER"), std::string::npos);
    EXPECT_NE(TestBoard::readFile(uploads / "FILES.BAK").find("ARCHIVER"), std::string::npos);
    EXPECT_NE(removed.err.find("Run Make Index"), std::string::npos) << removed.err;
    EXPECT_TRUE(fs::exists(uploads / "UPLOADS.IDX"));
}

} // namespace
} // namespace Kelvane::Testing
