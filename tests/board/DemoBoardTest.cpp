#include "board/DemoBoard.h"

#include "board/BoardTool.h"
#include "board/FilesList.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"

#include <QTemporaryDir>

#include <archive.h>
#include <archive_entry.h>
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Kelvane {
namespace {

namespace fs = std::filesystem;

// The members of a ZIP by name, read back with the archive library.
std::map<std::string, std::string> zipMembers(const fs::path& file)
{
    const std::unique_ptr<archive, int (*)(archive*)> reader(archive_read_new(), archive_read_free);
    archive_read_support_format_zip(reader.get());
    archive_read_support_filter_none(reader.get());
    if (archive_read_open_filename(reader.get(), file.c_str(), 4096) != ARCHIVE_OK)
        return {};
    std::map<std::string, std::string> members;
    archive_entry* entry = nullptr;
    while (archive_read_next_header(reader.get(), &entry) == ARCHIVE_OK) {
        std::string& data = members[archive_entry_pathname(entry)];
        char buffer[4096];
        la_ssize_t read = 0;
        while ((read = archive_read_data(reader.get(), buffer, sizeof buffer)) > 0)
            data.append(buffer, static_cast<std::size_t>(read));
        if (read < 0)
            return {};
    }
    return members;
}

class DemoBoardTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_directory.isValid());
        m_root = fs::canonical(pathFromUnicode(m_directory.path()));
        m_mainNode = DemoBoard::build(m_root, CodePage::windows1252());
    }

    fs::path utils() const { return m_root / "files" / "utils"; }

    QTemporaryDir m_directory;
    fs::path m_root;
    fs::path m_mainNode;
};

TEST_F(DemoBoardTest, AreasCarryTheirFlagsAndTheirDirectoriesExist)
{
    EXPECT_EQ(m_mainNode, m_root / "board");
    struct Expected
    {
        std::string title, cdrom, offline;
        bool indexed;
        int additional;
        bool listed;
    };
    const std::vector<Expected> expected {
        { "General Utilities", "No", "No", false, 0, true },
        { "Games (three directories)", "No", "No", false, 2, true },
        { "Shareware CD-ROM", "Yes", "No", false, 0, true },
        { "Offline CD Collection", "Yes", "Yes", false, 0, true },
        { "New Uploads (indexed)", "No", "No", true, 0, true },
        { "Empty Area", "No", "No", false, 0, false },
    };
    const std::vector<AreaRecord> records = BoardTool::read(m_mainNode);
    ASSERT_EQ(records.size(), expected.size());
    for (std::size_t i = 0; i < records.size(); ++i) {
        SCOPED_TRACE(expected[i].title);
        const AreaRecord& record = records[i];
        EXPECT_EQ(record.title, expected[i].title);
        EXPECT_EQ(record.cdrom, expected[i].cdrom);
        EXPECT_EQ(record.offline, expected[i].offline);
        EXPECT_EQ(record.master, "No");
        EXPECT_EQ(record.index.empty(), !expected[i].indexed);
        EXPECT_TRUE(fs::is_directory(record.path));
        EXPECT_EQ(fs::exists(record.filesList), expected[i].listed);
        int additional = 0;
        for (const std::string& alt : record.alt) {
            if (!alt.empty()) {
                ++additional;
                EXPECT_TRUE(fs::is_directory(alt)) << alt;
            }
        }
        EXPECT_EQ(additional, expected[i].additional);
    }
}

TEST_F(DemoBoardTest, PlainAreaListsGoneFilesAndHoldsUnlistedOnes)
{
    std::ifstream stream(utils() / "FILES.LST", std::ios::binary);
    const std::string data((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    const FilesListFormat::Parsed parsed = FilesListFormat::parse(data, {});
    std::vector<std::string> names;
    for (const Entry& entry : parsed.entries)
        names.push_back(entry.FileName);
    EXPECT_EQ(names,
              (std::vector<std::string> { "ARCHIVER.ZIP", "ANSIVIEW.ZIP", "README.TXT", "OLDTOOL.ZIP", "GONE.TXT" }));
    EXPECT_EQ(parsed.entries[1].Description, "ANSI art viewer for DOS, version 3.0\r\nUploaded By: Sam Sysop\r\n");

    EXPECT_TRUE(fs::exists(utils() / "ARCHIVER.ZIP"));
    EXPECT_FALSE(fs::exists(utils() / "OLDTOOL.ZIP"));
    EXPECT_FALSE(fs::exists(utils() / "GONE.TXT"));
    EXPECT_TRUE(fs::exists(utils() / "NEWTOOL.ZIP"));
    EXPECT_TRUE(fs::exists(utils() / "Long File Name Utility.zip"));
    EXPECT_LT(fs::last_write_time(utils() / "NEWTOOL.ZIP"), fs::file_time_type::clock::now() - std::chrono::days(399));
    EXPECT_EQ(fs::status(utils() / "READONLY.TXT").permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
}

TEST_F(DemoBoardTest, ArchivesCarryDosDescriptions)
{
    struct Archive
    {
        const char* name;
        std::optional<int> lines; // of FILE_ID.DIZ; none when the archive has none
    };
    for (const Archive& zip : { Archive { "ARCHIVER.ZIP", 1 }, Archive { "ANSIVIEW.ZIP", 4 },
                                Archive { "MULTI.ZIP", 4 }, Archive { "LONGDIZ.ZIP", 25 }, Archive { "WIDE.ZIP", 3 },
                                Archive { "NODIZ.ZIP", std::nullopt }, Archive { "Long File Name Utility.zip", 1 } }) {
        SCOPED_TRACE(zip.name);
        const std::map<std::string, std::string> members = zipMembers(utils() / zip.name);
        ASSERT_EQ(members.size(), zip.lines ? 2U : 1U);
        const auto diz = members.find("FILE_ID.DIZ");
        if (!zip.lines) {
            EXPECT_EQ(diz, members.end());
            continue;
        }
        ASSERT_NE(diz, members.end());
        const std::string& text = diz->second;
        int lines = text.ends_with("\r\n") ? 0 : 1;
        for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 1)) {
            EXPECT_EQ(text[at - 1], '\r') << "a lone LF at " << at;
            ++lines;
        }
        EXPECT_EQ(lines, *zip.lines);
    }
    const std::string ansiView = zipMembers(utils() / "ANSIVIEW.ZIP").at("FILE_ID.DIZ");
    EXPECT_NE(ansiView.find("\r\nUploaded By: Sam Sysop on 05-17-96\r\n"), std::string::npos);
    const std::string wide = zipMembers(utils() / "WIDE.ZIP").at("FILE_ID.DIZ");
    EXPECT_GT(wide.find("\r\n"), 45U);
}

TEST_F(DemoBoardTest, BuildingAgainStartsTheBoardAfresh)
{
    fs::remove(utils() / "ARCHIVER.ZIP");
    EXPECT_EQ(DemoBoard::build(m_root, CodePage::windows1252()), m_mainNode);
    EXPECT_EQ(BoardTool::read(m_mainNode).size(), 6U);
    EXPECT_TRUE(fs::exists(utils() / "ARCHIVER.ZIP"));
    EXPECT_EQ(fs::status(utils() / "READONLY.TXT").permissions() & fs::perms::owner_write, fs::perms::none);
}

} // namespace
} // namespace Kelvane
