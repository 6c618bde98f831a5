#include "platform/Archives.h"

#include "support/TestBoard.h"

#include <QElapsedTimer>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <archive.h>
#include <archive_entry.h>

namespace Kelvane::Testing {
namespace {

using enum ExtractResult;

enum class Format { Zip, StoredZip, SevenZip, TarGz };

struct Member
{
    std::string path, data, linkTarget = {}; // a symbolic link when linkTarget is set
};

void writeArchive(const fs::path& file, Format format, const std::vector<Member>& members)
{
    archive* writer = archive_write_new();
    if (format == Format::SevenZip) {
        archive_write_set_format_7zip(writer);
    } else if (format == Format::TarGz) {
        archive_write_set_format_pax_restricted(writer);
        archive_write_add_filter_gzip(writer);
    } else {
        archive_write_set_format_zip(writer);
        if (format == Format::StoredZip)
            archive_write_zip_set_compression_store(writer);
    }
    ASSERT_EQ(archive_write_open_filename(writer, file.c_str()), ARCHIVE_OK);
    for (const Member& member : members) {
        archive_entry* entry = archive_entry_new();
        archive_entry_set_pathname(entry, member.path.c_str());
        archive_entry_set_mode(entry, (member.linkTarget.empty() ? AE_IFREG : AE_IFLNK) | 0644);
        archive_entry_set_size(entry, static_cast<la_int64_t>(member.data.size()));
        if (!member.linkTarget.empty())
            archive_entry_set_symlink(entry, member.linkTarget.c_str());
        EXPECT_EQ(archive_write_header(writer, entry), ARCHIVE_OK);
        archive_write_data(writer, member.data.data(), member.data.size());
        archive_entry_free(entry);
    }
    EXPECT_EQ(archive_write_free(writer), ARCHIVE_OK);
}

// The Work directory sits two levels down, so that a member climbing out of it would still
// land inside the temporary directory, where filesUnder sees it.
struct Scratch
{
    QTemporaryDir temporary;
    fs::path root = temporary.path().toStdString();
    fs::path work = root / "a" / "b" / "Work";
    fs::path archive = root / "UPLOAD.ZIP";
    Scratch() { fs::create_directories(work); }

    std::vector<std::string> filesUnder() const
    {
        std::vector<std::string> files;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root))
            if (!entry.is_directory())
                files.push_back(entry.path().lexically_relative(root).generic_string());
        std::ranges::sort(files);
        return files;
    }
};

// Decides which 7-Zip, if any, the code under test finds.
struct PathFor
{
    QByteArray old = qgetenv("PATH");
    explicit PathFor(const fs::path& directory) { qputenv("PATH", directory.c_str()); }
    ~PathFor() { qputenv("PATH", old); }
};

TEST(Archives, FindsTheMemberWhateverItsCaseAndFolderAndWritesItFlat)
{
    const std::tuple<std::vector<Member>, ExtractResult, std::string> cases[] = {
        { { { "FILE_ID.DIZ", "top" } }, Extracted, "top" },
        { { { "README.TXT", "no" }, { "DOCS/Sub/FILE_ID.DIZ", "sub" } }, Extracted, "sub" },
        { { { "file_id.diz", "lower" }, { "FILE_ID.DIZ", "second" } }, Extracted, "lower" },
        { { { "../../x/FILE_ID.DIZ", "climbed" } }, Extracted, "climbed" },
        { { { "FILE_ID.DIZ", "", "../../../outside" }, { "d/FILE_ID.DIZ", "real" } }, Extracted, "real" },
        { { { "FILE_ID.DIZ", "", "/etc/passwd" } }, NoMember, "" },
        { { { "FILE_ID.DIZ.BAK", "a" }, { "XFILE_ID.DIZ", "b" }, { "FILE_ID", "c" } }, NoMember, "" },
    };
    for (const Format format : { Format::Zip, Format::StoredZip, Format::SevenZip, Format::TarGz }) {
        for (const auto& [members, result, text] : cases) {
            SCOPED_TRACE(testing::Message() << "format " << static_cast<int>(format) << ", " << members[0].path);
            Scratch board;
            writeArchive(board.archive, format, members);
            EXPECT_EQ(extractMember(board.archive, board.work, "FILE_ID.DIZ"), result);
            std::vector<std::string> expected { "UPLOAD.ZIP" };
            if (result == Extracted) {
                expected.push_back("a/b/Work/FILE_ID.DIZ");
                EXPECT_EQ(TestBoard::readFile(board.work / "FILE_ID.DIZ"), text);
            }
            EXPECT_EQ(board.filesUnder(), expected);
        }
    }
}

TEST(Archives, ReplacesALinkKeepsOneMebibyteOfABombAndFindsDamagedAndForeignFilesUnreadable)
{
    Scratch board;
    writeArchive(board.archive, Format::Zip, { { "FILE_ID.DIZ", std::string(100 << 20, '\0') } });
    std::ofstream(board.root / "victim") << "keep";
    fs::create_symlink(board.root / "victim", board.work / "FILE_ID.DIZ");
    EXPECT_EQ(extractMember(board.archive, board.work, "FILE_ID.DIZ"), Extracted);
    EXPECT_FALSE(fs::is_symlink(board.work / "FILE_ID.DIZ"));
    EXPECT_EQ(fs::file_size(board.work / "FILE_ID.DIZ"), MemberLimit);
    EXPECT_EQ(TestBoard::readFile(board.root / "victim"), "keep");

    // Damaged and foreign files are unreadable and leave nothing behind.
    fs::remove(board.work / "FILE_ID.DIZ");
    writeArchive(board.archive, Format::StoredZip, { { "FILE_ID.DIZ", std::string(200'000, 'x') } });
    fs::resize_file(board.archive, fs::file_size(board.archive) / 2);
    std::ofstream(board.root / "TEXT.ZIP") << "This is not an archive.\r\n";
    for (const fs::path& file : { board.archive, board.root / "TEXT.ZIP", board.root / "MISSING.ZIP" }) {
        SCOPED_TRACE(file.filename());
        EXPECT_EQ(extractMember(file, board.work, "FILE_ID.DIZ"), Unreadable);
        EXPECT_TRUE(fs::is_empty(board.work));
    }
}

TEST(Archives, ReadsTheSharedArchivesWithAndWithout7Zip)
{
    const fs::path shared = fs::path(KELVANE_SHARED_TESTDATA) / "archives";
    ASSERT_TRUE(fs::is_directory(shared)) << "shared test archives missing: " << shared;
    const QString sevenZip = QStandardPaths::findExecutable(u"7zz"_s);
    ASSERT_FALSE(sevenZip.isEmpty()) << "these cases need 7-Zip (Debian package 7zip)";
    Scratch board;
    const fs::path withOldName = board.root / "bin", nothing = board.root / "empty";
    fs::create_directory(withOldName);
    fs::create_directory(nothing);
    // 7-Zip under the name older packages gave it.
    fs::create_symlink(sevenZip.toStdString(), withOldName / "7z");

    // archive, member, result with 7-Zip, result without it, member size
    const std::tuple<const char*, const char*, ExtractResult, ExtractResult, std::size_t> cases[] = {
        { "Rar.rar", "TEST.EXE", Extracted, Extracted, 45056 },
        { "Rar5.rar", "test.exe", Extracted, Extracted, 45056 },
        { "t.lzh", "FILE2", Extracted, Extracted, 78 },
        { "t.lzh", "symlink1", NoMember, NoMember, 0 },
        { "Zip.implode.zip", "TEST.EXE", Extracted, Unreadable, 45056 },
        { "Zip.shrink.zip", "tect.txt", Extracted, Unreadable, 15498 },
        { "Zip.deflate64.zip", "TEST.EXE", Extracted, Unreadable, 45056 },
        { "Arj.method1.arj", "TEST.EXE", Extracted, Unreadable, 45056 },
        { "Arj.method1.arj", "TECT.TXT", Extracted, Unreadable, 15498 },
        { "Zip.reduce1.zip", "TEST.EXE", Unreadable, Unreadable, 0 },
        { "Zip.deflate.WinzipAES2.zip", "TEST.EXE", NoMember, NoMember, 0 },
        { "zipcrypto.zip", "FOX.TXT", NoMember, NoMember, 0 },
    };
    std::map<std::string, std::string> firstCopy; // a member is the same file in every archive
    for (const auto& [archive, member, with, without, size] : cases) {
        for (const bool installed : { true, false }) {
            SCOPED_TRACE(testing::Message() << archive << " " << member << (installed ? "" : " without 7-Zip"));
            const PathFor path(installed ? withOldName : nothing);
            EXPECT_EQ(extractMember(shared / archive, board.work, member), installed ? with : without);
            if (!fs::exists(board.work / member))
                continue;
            const std::string data = TestBoard::readFile(board.work / member);
            fs::remove(board.work / member);
            EXPECT_EQ(data.size(), size);
            const auto [copy, first] = firstCopy.emplace(QByteArray(member).toUpper().toStdString(), data);
            EXPECT_TRUE(first || copy->second == data);
        }
    }
    EXPECT_TRUE(firstCopy["TECT.TXT"].starts_with("using System;\r\nusing System.Collections.Generic;\r\n"));
    EXPECT_NE(firstCopy["FILE2"].find("file 2 contents\nhello\n"), std::string::npos);
}

// A stand-in for 7-Zip lists what a case says, then "extracts" by printing the path it was
// given, by printing without end, by hanging or by failing.
TEST(Archives, Distrusts7ZipAndStopsItAfterTenSeconds)
{
    Scratch board;
    std::ofstream(board.archive) << "nothing libarchive knows";
    std::ofstream(board.root / "7zz") << "#!/bin/sh\nPATH=/usr/bin:/bin; here=$(dirname \"$0\")\n"
                                         "[ \"$1\" = l ] && exec cat \"$here/listing\"\nfor last; do :; done\n"
                                         "case $(cat \"$here/extraction\") in path) printf %s \"$last\" ;;\n"
                                         "endless) exec yes ;; hang) exec sleep 60 ;; *) exit 2 ;; esac\n";
    fs::permissions(board.root / "7zz", fs::perms::owner_all);
    const PathFor path(board.root);

    const std::string file = "Path = x/FILE_ID.DIZ\nAttributes = A -rw-r--r--\n";
    const std::string unwanted = "Path = FILE_ID.DIZ\nFolder = +\n\nPath = A/file_id.diz\nEncrypted = +\n\n"
                                 "Path = FILE_ID.DIZ\nAttributes =  lrwxrwxrwx\n\nPath = FILE_ID.DIZ.TXT\n\n";
    std::string endless;
    while (endless.size() < MemberLimit)
        endless += "y\n";
    const std::tuple<std::string, std::string, ExtractResult, std::string> cases[] = {
        { unwanted + "Path = my dir/FILE_ID.DIZ\n", "path", Extracted, "my dir/FILE_ID.DIZ" },
        { unwanted, "path", NoMember, "" },
        { file, "endless", Extracted, endless },
        { file, "fail", Unreadable, "" },
        { file, "hang", Unreadable, "" },
    };
    for (const auto& [listing, extraction, result, text] : cases) {
        SCOPED_TRACE(extraction);
        std::ofstream(board.root / "listing") << listing;
        std::ofstream(board.root / "extraction") << extraction;
        QElapsedTimer timer;
        timer.start();
        EXPECT_EQ(extractMember(board.archive, board.work, "FILE_ID.DIZ"), result);
        EXPECT_LT(timer.elapsed(), 12'000);
        const std::string written = TestBoard::readFile(board.work / "FILE_ID.DIZ");
        EXPECT_TRUE(written == text) << written.size() << " bytes: " << written.substr(0, 40);
        fs::remove(board.work / "FILE_ID.DIZ");
    }

    // Told to read in-process only, the caller gets what the archive library made of the
    // file, even where 7-Zip would have found the member.
    std::ofstream(board.root / "listing") << file;
    std::ofstream(board.root / "extraction") << "path";
    EXPECT_EQ(extractMember(board.archive, board.work, "FILE_ID.DIZ", ArchiveReaders::InProcessOnly), Unreadable);
    EXPECT_FALSE(fs::exists(board.work / "FILE_ID.DIZ"));
}

} // namespace
} // namespace Kelvane::Testing

namespace Kelvane::Testing {
namespace {

// A ZIP whose one member is encrypted with the traditional PKWARE cipher.
void writeEncryptedZip(const fs::path& file)
{
    archive* writer = archive_write_new();
    archive_write_set_format_zip(writer);
    ASSERT_EQ(archive_write_set_options(writer, "zip:encryption=zipcrypt"), ARCHIVE_OK);
    ASSERT_EQ(archive_write_set_passphrase(writer, "secret"), ARCHIVE_OK);
    ASSERT_EQ(archive_write_open_filename(writer, file.c_str()), ARCHIVE_OK);
    archive_entry* entry = archive_entry_new();
    archive_entry_set_pathname(entry, "SECRET.TXT");
    archive_entry_set_mode(entry, AE_IFREG | 0644);
    archive_entry_set_size(entry, 5);
    EXPECT_EQ(archive_write_header(writer, entry), ARCHIVE_OK);
    archive_write_data(writer, "hello", 5);
    archive_entry_free(entry);
    EXPECT_EQ(archive_write_free(writer), ARCHIVE_OK);
}

TEST(Archives, TestReadsEveryMemberToItsEnd)
{
    QTemporaryDir temporary;
    const fs::path root = temporary.path().toStdString();
    const std::string text(200'000, 'k');
    using State = ArchiveTest::State;
    struct Case
    {
        const char* name;
        std::function<void(const fs::path&)> write;
        State state;
        const char* reason; // a part of it
    };
    const Case cases[] = {
        { "GOOD.ZIP", [&](const fs::path& f) { writeArchive(f, Format::Zip, { { "A.TXT", text }, { "B.TXT", "b" } }); },
          State::Good, "" },
        // Gigabytes of zeros would pass through the same fixed buffer; 64 MiB show the way.
        { "ZEROS.ZIP", [](const fs::path& f) { writeArchive(f, Format::Zip, { { "Z.BIN", std::string(64 << 20, '\0') } }); },
          State::Good, "" },
        { "GOOD.7Z", [&](const fs::path& f) { writeArchive(f, Format::SevenZip, { { "A.TXT", text } }); }, State::Good, "" },
        { "SHORT.ZIP",
          [&](const fs::path& f) {
              writeArchive(f, Format::Zip, { { "A.TXT", text }, { "B.TXT", text + "b" } });
              fs::resize_file(f, fs::file_size(f) / 2);
          },
          State::Damaged, "" },
        { "BADCRC.ZIP",
          [&](const fs::path& f) {
              writeArchive(f, Format::StoredZip, { { "A.TXT", text } });
              std::string bytes = TestBoard::readFile(f);
              bytes[bytes.find(text) + 1000] = 'X';
              TestBoard::writeFile(f, bytes);
          },
          State::Damaged, "A.TXT" },
        { "LOCKED.ZIP", [](const fs::path& f) { writeEncryptedZip(f); }, State::Encrypted, "SECRET.TXT" },
        { "TEXT.ZIP", [](const fs::path& f) { TestBoard::writeFile(f, "This is not an archive.\r\n"); }, State::Unreadable,
          "" },
        { "EMPTY.ZIP", [](const fs::path& f) { TestBoard::writeFile(f, ""); }, State::Unreadable, "empty" },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const fs::path file = root / c.name;
        c.write(file);
        const ArchiveTest test = testArchive(file);
        EXPECT_EQ(test.state, c.state) << test.reason;
        EXPECT_EQ(test.reason.empty(), c.state == State::Good) << test.reason;
        EXPECT_NE(test.reason.find(c.reason), std::string::npos) << test.reason;
    }
}

} // namespace
} // namespace Kelvane::Testing
