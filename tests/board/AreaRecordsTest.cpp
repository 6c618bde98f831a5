#include "board/AreaRecords.h"
#include "board/BoardTool.h"
#include "board/RunTimeError.h"
#include "support/TestBoard.h"

namespace Kelvane::Testing {
namespace {

// A field as it lies in the record: its length byte, its text, zeros to its capacity.
std::string field(const std::string& text, std::size_t capacity)
{
    return static_cast<char>(text.size()) + text + std::string(capacity - text.size(), '\0');
}

TEST(AreaRecordFormat, LaysARecordOutByteForByte)
{
    const AreaRecord record { .title = "Utilities", .path = "/srv/bbs/utils",
                              .alt = { "/srv/bbs/utils2", "", "", "", "", "", "", "", "", "/srv/bbs/utils11" },
                              .filesList = "/srv/bbs/utils/FILES.LST", .index = "/srv/bbs/index/UTILS.IDX",
                              .cdrom = "Yes", .master = "", .disc = -2 };

    std::string expected = field("Utilities", 60) + field("/srv/bbs/utils", 127) + field("/srv/bbs/utils2", 127);
    for (int i = 2; i <= 9; ++i)
        expected += field("", 127);
    expected += field("/srv/bbs/utils11", 127) + field("/srv/bbs/utils/FILES.LST", 127)
        + field("/srv/bbs/index/UTILS.IDX", 127) + field("No", 3) + field("Yes", 3) + field("No", 3) + field("No", 3)
        + field("", 3) + "\xFE\xFF" + std::string(301, '\0');
    const std::string data = AreaRecordFormat::encode(record);
    EXPECT_EQ(data, expected);
    EXPECT_EQ(AreaRecordFormat::decode(data, 1), record);
}

TEST(AreaRecordFormat, RefusesTextsLongerThanTheirFields)
{
    const std::vector<std::pair<std::function<void(AreaRecord&)>, std::string>> cases = {
        { [](AreaRecord& r) { r.title = std::string(61, 'T'); },
          "Title is 61 characters long; the field holds at most 60" },
        { [](AreaRecord& r) { r.alt[3] = std::string(128, 'p'); },
          "Additional path 4 is 128 characters long; the field holds at most 127" },
        { [](AreaRecord& r) { r.offline = "Yess"; }, "Offline is 4 characters long; the field holds at most 3" },
    };
    for (const auto& [change, message] : cases) {
        AreaRecord record;
        change(record);
        try {
            AreaRecordFormat::encode(record);
            ADD_FAILURE() << "accepted: " << message;
        } catch (const FieldTooLong& error) {
            EXPECT_EQ(error.what(), message);
        }
    }
    AreaRecord fits;
    fits.title = std::string(60, 'T');
    EXPECT_NO_THROW(AreaRecordFormat::encode(fits));
}

TEST(AreaRecordFormat, ReportsDamageWithoutTouchingTheFile)
{
    TestBoard board;
    const fs::path file = board.mainNode() / "Mwork" / "Farea.dat";
    std::string good = AreaRecordFormat::encode(AreaRecord {});
    std::string badLength = good;
    badLength[1469] = static_cast<char>(128);
    const std::vector<std::pair<std::string, QString>> cases = {
        { good + "x",
          u"Farea.dat is damaged: its size, 2049 bytes, is not a whole number of 2048-byte area records"_s },
        { good + badLength,
          u"Farea.dat is damaged: record 2, field Files List path, holds a length of 128 where at most 127 fits"_s },
    };
    for (const auto& [bytes, message] : cases) {
        TestBoard::writeFile(file, bytes);
        try {
            AreaRecordSet records;
            records.OpenAreas(board.mainNode());
            ADD_FAILURE() << "read a damaged file";
        } catch (const RunTimeError& error) {
            EXPECT_EQ(error.description(), message);
            EXPECT_EQ(error.number(), RunTimeError::ObjectError + 1);
            EXPECT_EQ(error.source(), u"Vandor.AreaRecords"_s);
        }
        EXPECT_THROW(BoardTool::add(board.mainNode(), AreaRecord {}), RunTimeError);
        EXPECT_EQ(TestBoard::readFile(file), bytes);
    }
    TestBoard::writeFile(file, "");
    AreaRecordSet empty;
    empty.OpenAreas(board.mainNode());
    EXPECT_EQ(empty.AreaCount(), 0);
    EXPECT_THROW(empty.SelectArea(1), RunTimeError);
}

TEST(AreaRecordSet, FindsTheFileWhateverTheCaseAndReadsFieldsAsStored)
{
    TestBoard board;
    fs::rename(board.mainNode() / "Mwork", board.mainNode() / "MWORK");
    fs::rename(board.mainNode() / "MWORK" / "Farea.dat", board.mainNode() / "MWORK" / "FAREA.DAT");
    AreaRecord record;
    record.title = "Lower-case flags";
    record.privateFlag = "no";
    record.alias = "";
    EXPECT_EQ(BoardTool::add(board.mainNode(), record), 1);
    EXPECT_EQ(BoardTool::add(board.mainNode(), AreaRecord {}), 2);

    AreaRecordSet records;
    records.OpenAreaRecord(board.mainNode(), 1);
    EXPECT_EQ(records.AreaCount(), 2);
    EXPECT_EQ(records.AreaTitle(), "Lower-case flags");
    EXPECT_EQ(records.AreaPrivate(), "no");
    EXPECT_EQ(records.AreaAlias(), "");
    EXPECT_EQ(records.AreaAltPath(10), "");
    EXPECT_THROW(records.AreaAltPath(11), RunTimeError);
    records.CloseAreas();
    EXPECT_THROW(records.AreaTitle(), RunTimeError);
    EXPECT_THROW(records.OpenAreas(board.root() / "nowhere"), RunTimeError);
}

TEST(PathUtility, TakesPathsApart)
{
    EXPECT_EQ(PathUtility::DirectoryOf("/srv/bbs/FILES.LST"), fs::path("/srv/bbs"));
    EXPECT_EQ(PathUtility::DirectoryOf("FILES.LST"), fs::path("-1"));
    EXPECT_EQ(PathUtility::DirectoryOf(""), fs::path("-1"));
    EXPECT_EQ(PathUtility::DirectoryOf(std::string("/a\0b/F", 6)), fs::path("-1"));
    EXPECT_EQ(PathUtility::FileNameOf("/srv/bbs/FILES.LST"), fs::path("FILES.LST"));
    EXPECT_EQ(PathUtility::RemoveText("a\r\nb\r\n", "\r\n"), "ab");
}

} // namespace
} // namespace Kelvane::Testing
