// Writes the fuzz targets' first inputs: for each target a folder of its name holding a few
// typical inputs, made by Kelvane's own writers so that they stay in the current formats.
//
//   write_fuzz_seeds DIRECTORY

#include "board/AreaRecords.h"
#include "board/FilesList.h"
#include "platform/ZipWriter.h"

#include <archive.h>
#include <archive_entry.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

using namespace Kelvane;

namespace fs = std::filesystem;

namespace {

void writeSeed(const fs::path& folder, const std::string& name, const std::string& bytes)
{
    fs::create_directories(folder);
    std::ofstream out(folder / name, std::ios::binary | std::ios::trunc);
    out << bytes;
    if (!out.flush())
        throw std::runtime_error("cannot write " + (folder / name).string());
}

std::string filesList(const std::vector<Entry>& entries)
{
    std::string out;
    FilesListFormat::format(entries, {}, [&](std::string_view bytes) { out.append(bytes); });
    return out;
}

void filesListSeeds(const fs::path& folder)
{
    const std::vector<Entry> entries = {
        { "GAME.ZIP", " 123456", "05-17-96", "A game of skill\r\nfor two players\r\n" },
        { "ABCDEF~1.ZIP", " 99", "01-02-03", "An alias of a long name\r\n" },
        { "ABCDEF~2.ZIP", " 0", "12-31-99", std::string(60, 'x') + " wrapped words here\r\n" },
        { "SHORT", " 123456789", "1-2-3", "\r\n\r\nblank lines first\r\n" },
    };
    const std::string list = filesList(entries);
    writeSeed(folder, "list", list);
    std::string unixList = list;
    std::erase(unixList, '\r');
    writeSeed(folder, "unix-line-ends", unixList);
    writeSeed(folder, "odd-columns",
              std::string(31, ' ') + "orphan\r\nA                  -5 01-01-011 x\rB   &H1F 123456789 \n y\r\n");
}

void areaRecordSeeds(const fs::path& folder)
{
    AreaRecord first;
    first.title = "Games";
    first.path = "C:\\FILES\\GAMES\\";
    first.alt[0] = "D:\\MORE\\";
    first.filesList = "C:\\FILES\\GAMES\\FILES.LST";
    first.index = "C:\\FILES\\INDEX.IDX";
    first.cdrom = "Yes";
    first.disc = 3;
    AreaRecord second = first;
    second.title = std::string(60, 'T');
    second.alt.fill(std::string(127, 'p'));
    second.disc = -1;
    const std::string one = AreaRecordFormat::encode(first);
    writeSeed(folder, "one-record", one);
    writeSeed(folder, "two-records", one + AreaRecordFormat::encode(second));
    std::string damaged = one;
    damaged[0] = static_cast<char>(61);
    writeSeed(folder, "damaged-length", damaged);
}

void dizSeeds(const fs::path& folder)
{
    writeSeed(folder, "plain", "Kelvane Demo 1.0\r\n\r\nA file of the demo board\r\n   indented line   \r\n");
    std::string many;
    for (int i = 0; i < 25; ++i)
        many += "Line " + std::to_string(i) + ' ' + std::string(50, '.') + "\n";
    writeSeed(folder, "many-long-lines", many);
    writeSeed(folder, "ctrl-z", "before\r\nend\x1A after the end\r\n");
    writeSeed(folder, "mixed-breaks", "one\rtwo\nstill two\r\nthree\r\r\n");
}

// A tar made with the archive library, for what a ZIP writer cannot hold: links and folders.
std::string tarWithLink()
{
    std::string out;
    archive* writer = archive_write_new();
    archive_write_set_format_pax_restricted(writer);
    archive_write_open(
        writer, &out, nullptr,
        [](archive*, void* target, const void* buffer, std::size_t length) -> la_ssize_t {
            static_cast<std::string*>(target)->append(static_cast<const char*>(buffer), length);
            return static_cast<la_ssize_t>(length);
        },
        nullptr);
    const auto add = [&](const char* path, unsigned type, const std::string& data, const char* link) {
        archive_entry* entry = archive_entry_new();
        archive_entry_set_pathname(entry, path);
        archive_entry_set_filetype(entry, type);
        archive_entry_set_perm(entry, 0644);
        archive_entry_set_size(entry, static_cast<la_int64_t>(data.size()));
        if (link)
            archive_entry_set_symlink(entry, link);
        archive_write_header(writer, entry);
        archive_write_data(writer, data.data(), data.size());
        archive_entry_free(entry);
    };
    add("docs", AE_IFDIR, "", nullptr);
    add("file_id.diz", AE_IFLNK, "", "/etc/passwd");
    add("docs/FILE_ID.DIZ", AE_IFREG, "From a tar\r\n", nullptr);
    archive_write_close(writer);
    archive_write_free(writer);
    return out;
}

void archiveSeeds(const fs::path& folder)
{
    fs::create_directories(folder);
    writeZip(folder / "with-diz",
             { { "README.TXT", "read me" }, { "FILE_ID.DIZ", "A zipped file\r\nof two lines\r\n" } });
    writeZip(folder / "diz-in-folder", { { "DOCS/file_id.diz", std::string(3000, 'z') } });
    writeZip(folder / "no-diz", { { "GAME.EXE", "MZ" } });
    writeSeed(folder, "tar-with-link", tarWithLink());
}

void shortNameSeeds(const fs::path& folder)
{
    writeSeed(folder, "windows-1252",
              std::string(1, '\0') + "README.TXT\nreadme.txt\na long file name.zip\na long file name 2.zip\n.bashrc");
    std::string crowded(1, '\x05');
    for (int i = 0; i < 12; ++i)
        crowded += "crowded directory " + std::to_string(i) + ".txt\n";
    writeSeed(folder, "crowded", crowded + "straße.txt\nSTRASSE.TXT\na😀b.txt\n[x]+;,=.txt");
}

// A rules file, a NUL, then a description: adverts, colour codes and escape sequences.
void cleanRulesSeeds(const fs::path& folder)
{
    const std::string description = "\x1B[1;33m|15Cool Game |07v1.0\x1B[0m  \r\n\r\n\r\n@X1FBy someone\tnice\r\n"
                                    "\xC9\xCD\xBB box \xE9t\xE9\r\nUploaded to The Night Owl BBS\r\n\r\n";
    writeSeed(folder, "advert", std::string("# adverts\nUploaded to .* BBS\n\n(?i)^\\s*call ") + '\0' + description);
    writeSeed(folder, "invalid-line", std::string("fine\n([a-\n") + '\0' + description);
    writeSeed(folder, "no-rules", std::string(1, '\0') + description);
    writeSeed(folder, "keep-colours", std::string("\x02") + '\0' + description);
}

void filesBbsSeeds(const fs::path& folder)
{
    writeSeed(folder, "with-sizes",
              "GAME.ZIP      123456 05-17-96 A game of skill\r\n"
              "                             | for two players\r\n"
              "                             +   indented\r\n"
              "TOOL.ZIP  A tool\r\n    continued by blanks\r\n\r\n--- a header ---\r\n");
    writeSeed(folder, "damaged",
              "ONE.ZIP first\rTWO.ZIP second\nTWO.ZIP listed again\n" + std::string(1200, 'x')
                  + "\n |orphan\nBAD/NAME.ZIP x\n\x01\xFF\xFE.ZIP garbage\x1A after the end");
}

void descriptIonSeeds(const fs::path& folder)
{
    writeSeed(folder, "plain", "game.zip A game of skill\r\n\"a long name.txt\" Quoted\r\nempty.txt\r\n");
    writeSeed(folder, "multi-line", "notes.txt first line\\nsecond line\\n  third\x04\xC2\r\nplain.txt 4DOS\x04" "extra\r\n");
    writeSeed(folder, "damaged",
              "\"unclosed quote.txt no description\nA.TXT one\rA.TXT two\n" + std::string(1500, 'y') + "\n\x1B\x7F bytes");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fputs("usage: write_fuzz_seeds DIRECTORY\n", stderr);
        return 2;
    }
    const fs::path root = argv[1];
    try {
        filesListSeeds(root / "fuzz_files_list");
        areaRecordSeeds(root / "fuzz_area_records");
        dizSeeds(root / "fuzz_diz_description");
        archiveSeeds(root / "fuzz_archive_member");
        shortNameSeeds(root / "fuzz_short_names");
        cleanRulesSeeds(root / "fuzz_clean_rules");
        filesBbsSeeds(root / "fuzz_files_bbs");
        descriptIonSeeds(root / "fuzz_descript_ion");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "write_fuzz_seeds: %s\n", error.what());
        return 1;
    }
    return 0;
}
