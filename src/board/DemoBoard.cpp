#include "board/DemoBoard.h"

#include "board/AreaRecords.h"
#include "board/BasicText.h"
#include "board/BoardTool.h"
#include "board/FileDates.h"
#include "board/FilesList.h"
#include "platform/CodePage.h"
#include "platform/DurableFile.h"
#include "platform/FileNames.h"
#include "platform/ZipWriter.h"

#include <array>
#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

// The area directories of the demo, under DIR/files.
constexpr std::array<const char*, 8> AreaFolders { "utils", "games",   "games-cd1", "games-cd2",
                                                   "cdrom", "offline", "uploads",   "empty" };

constexpr std::string_view UploaderDiz = "ANSI art viewer for DOS, version 3.1\n"
                                         "Views .ANS and .ICE files in VGA modes\n"
                                         "Uploaded By: Sam Sysop on 05-17-96\n"
                                         "Uploaded By: the mirror robot";

constexpr std::string_view WideDiz
    = "This description line is much wider than the forty-five columns a Files List allows\n"
      "and so is this one, which the builder cuts at column forty-five as well\n"
      "Short last line";

constexpr std::string_view MultiDiz
    = "MultiEdit 7.0\n\n  A programmer's editor for DOS\n  with macros and split windows\n";

std::string manyLinesDiz()
{
    std::string text;
    for (int n = 1; n <= 25; ++n) {
        if (n > 1)
            text += '\n';
        text += "Line " + std::string(n < 10 ? "0" : "") + std::to_string(n) + " of a very long FILE_ID.DIZ";
    }
    return text;
}

// Text as DOS wrote it: CR LF line ends.
std::string dosText(std::string_view text)
{
    std::string result;
    for (const char c : text) {
        if (c == '\n')
            result += '\r';
        result += c;
    }
    return result;
}

// Replaces any earlier file of that name, a read-only one included, so the demo can be
// built again into the same directory.
void writeFile(const fs::path& file, std::string_view bytes)
{
    TemporaryFile written(file);
    written.write(bytes);
    written.finish();
    written.renameTo(file);
}

void makeZip(const fs::path& file, std::optional<std::string_view> diz, const std::string& payload)
{
    std::vector<ZipMember> members;
    if (diz)
        members.push_back({ "FILE_ID.DIZ", dosText(*diz) });
    std::string contents;
    for (int i = 0; i < 40; ++i)
        contents += payload + ": sample contents of a demo archive.\r\n";
    members.push_back({ payload, std::move(contents) });
    writeZip(file, members);
}

void age(const fs::path& file, int days)
{
    fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::days(days));
}

std::string sizeOf(const fs::path& file)
{
    return Str(static_cast<double>(fs::file_size(file)));
}

struct DemoFile
{
    std::string name;
    std::string size;
    std::string date;
    std::vector<std::string> description;
};

void writeFilesList(const fs::path& file, const std::vector<DemoFile>& listed)
{
    std::vector<Entry> entries;
    for (const DemoFile& item : listed) {
        std::string description;
        for (const std::string& line : item.description)
            description += line + "\r\n";
        entries.push_back({ item.name, item.size, item.date, std::move(description) });
    }
    std::string bytes;
    // The demo lists no name longer than 12 characters, so none needs its short alias.
    FilesListFormat::format(entries, {}, [&](std::string_view piece) { bytes.append(piece); });
    writeFile(file, bytes);
}

fs::path makeFolder(const fs::path& folder)
{
    fs::create_directories(folder);
    return folder;
}

// Every path the demo stores must fit its field in the board's code page; a path that does
// not is refused before anything is made, so no half-built board is left behind.
void checkPaths(const fs::path& root, const CodePage& page)
{
    const fs::path files = root / "files";
    std::vector<fs::path> longest;
    for (const char* folder : AreaFolders)
        longest.push_back(files / folder / "FILES.LST");
    longest.push_back(files / "uploads" / "UPLOADS.IDX");
    for (const fs::path& path : longest) {
        std::string reason;
        if (!page.canEncode(unicodeFromPath(path))) {
            reason = "it holds characters that " + page.name().toStdString() + " cannot store";
        } else {
            AreaRecord record;
            record.path = page.fromPath(path);
            try {
                AreaRecordFormat::encode(record);
            } catch (const FieldTooLong& tooLong) {
                reason = tooLong.what();
            }
        }
        if (!reason.empty()) {
            throw std::invalid_argument("cannot build the demo board in " + unicodeFromPath(root).toStdString()
                                        + ": the path " + unicodeFromPath(path).toStdString()
                                        + " does not fit an area record (" + reason + "); choose another directory");
        }
    }
}

// An area whose Files List lies in its directory.
AreaRecord simpleArea(const CodePage& page, std::string title, const fs::path& directory)
{
    AreaRecord record;
    record.title = std::move(title);
    record.path = page.fromPath(directory);
    record.filesList = page.fromPath(directory / "FILES.LST");
    return record;
}

} // namespace

fs::path DemoBoard::build(const fs::path& directory, const CodePage& page)
{
    const fs::path root = fs::weakly_canonical(fs::absolute(directory));
    const fs::path mainNode = root / "board";
    checkPaths(root, page);
    const fs::path files = root / "files";

    // Initialising keeps an existing Farea.dat: a demo built again into the same directory
    // starts its records afresh rather than adding a second set.
    if (const std::optional<fs::path> earlier = findFareaFile(mainNode))
        fs::remove(*earlier);
    BoardTool::init(mainNode);

    // 1. A plain area: listed entries (two of their files are gone) and files not yet listed.
    const fs::path utils = makeFolder(files / "utils");
    makeZip(utils / "ARCHIVER.ZIP", "Archiver 2.04g - packs and unpacks ZIP files", "ARCHIVER.EXE");
    makeZip(utils / "ANSIVIEW.ZIP", UploaderDiz, "ANSIVIEW.EXE");
    writeFile(utils / "README.TXT", dosText("Welcome to the General Utilities area.\n"));
    makeZip(utils / "NEWTOOL.ZIP", "NewTool 1.0 - a one-line description", "NEWTOOL.EXE");
    makeZip(utils / "MULTI.ZIP", MultiDiz, "ME.EXE");
    makeZip(utils / "LONGDIZ.ZIP", manyLinesDiz(), "LONGDIZ.EXE");
    makeZip(utils / "WIDE.ZIP", WideDiz, "WIDE.EXE");
    makeZip(utils / "NODIZ.ZIP", std::nullopt, "NODIZ.EXE");
    makeZip(utils / "Long File Name Utility.zip", "A file whose name is longer than 8.3", "LFN.EXE");
    const fs::path readOnly = utils / "READONLY.TXT";
    writeFile(readOnly, dosText("This file is read-only on disk.\n"));
    for (const char* name : { "ARCHIVER.ZIP", "ANSIVIEW.ZIP", "README.TXT", "NEWTOOL.ZIP", "MULTI.ZIP", "LONGDIZ.ZIP",
                              "WIDE.ZIP", "NODIZ.ZIP", "Long File Name Utility.zip", "READONLY.TXT" })
        age(utils / name, 400);
    fs::permissions(readOnly, fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
    // The listed files that are gone stay gone when the demo is built again.
    for (const char* gone : { "OLDTOOL.ZIP", "GONE.TXT" })
        fs::remove(utils / gone);
    writeFilesList(
        utils / "FILES.LST",
        {
            { "ARCHIVER.ZIP",
              sizeOf(utils / "ARCHIVER.ZIP"),
              "05-17-96",
              { "Archiver 2.04g - packs and unpacks ZIP files" } },
            { "ANSIVIEW.ZIP",
              Str(1234),
              "01-02-95",
              { "ANSI art viewer for DOS, version 3.0", "Uploaded By: Sam Sysop" } },
            { "README.TXT", Str(40), "05-17-96", { "Read me first" } },
            { "OLDTOOL.ZIP", Str(48213), "11-30-94", { "An old tool whose file is gone" } },
            { "GONE.TXT", Str(512), "03-03-93", { "Another entry without its file", "Uploaded By: Old Caller" } },
        });
    BoardTool::add(mainNode, simpleArea(page, "General Utilities", utils));

    // 2. Additional directories.
    const fs::path games = makeFolder(files / "games");
    const fs::path firstCd = makeFolder(files / "games-cd1");
    const fs::path secondCd = makeFolder(files / "games-cd2");
    makeZip(games / "DOOM19S.ZIP", "DOOM v1.9 shareware episode\nby id Software", "DOOM.EXE");
    makeZip(firstCd / "WOLF3D.ZIP", "Wolfenstein 3-D shareware", "WOLF3D.EXE");
    makeZip(secondCd / "KEEN1.ZIP", "Commander Keen 1: Marooned on Mars", "KEEN1.EXE");
    // The first CD came from another board with its FILES.BBS: a ZIP without a FILE_ID.DIZ
    // and a long-named text file (listed there by its short alias) take their descriptions
    // from it when the scan is asked to read it.
    makeZip(firstCd / "JILL1.ZIP", std::nullopt, "JILL1.EXE");
    writeFile(firstCd / "Wolf3D Hints.txt", dosText("Take the left door on the first floor.\n"));
    writeFile(firstCd / "FILES.BBS",
              dosText("WOLF3D.ZIP     102400 05-05-92 Wolfenstein 3-D shareware (from the CD's list)\n"
                      "JILL1.ZIP      51200 06-01-92 Jill of the Jungle, episode one\n"
                      "                             | A platform game in three episodes\n"
                      "WOLF3D~1.TXT   Hints for Wolfenstein 3-D\n"));
    // An upload cut short, as an interrupted transfer leaves it: listed, but its archive
    // does not read through to its end.
    makeZip(games / "HERETIC.ZIP", "Heretic shareware 1.0", "HERETIC.EXE");
    fs::resize_file(games / "HERETIC.ZIP", fs::file_size(games / "HERETIC.ZIP") / 2);
    writeFilesList(games / "FILES.LST",
                   {
                       { "DOOM19S.ZIP",
                         sizeOf(games / "DOOM19S.ZIP"),
                         "12-10-94",
                         { "DOOM v1.9 shareware episode", "by id Software" } },
                       // As another board passed it on: coloured, with its advert.
                       { "KEEN1.ZIP",
                         Str(1024),
                         "12-14-90",
                         { "|11Commander Keen 1: |07Marooned on Mars", "", "",
                           "-=- Uploaded to The Night Owl BBS -=-", "" } },
                       { "HERETIC.ZIP", sizeOf(games / "HERETIC.ZIP"), "12-23-94", { "Heretic shareware 1.0" } },
                   });
    AreaRecord gamesArea = simpleArea(page, "Games (three directories)", games);
    gamesArea.alt[0] = page.fromPath(firstCd);
    gamesArea.alt[1] = page.fromPath(secondCd);
    BoardTool::add(mainNode, gamesArea);

    // 3. A CD-ROM area.
    const fs::path cdrom = makeFolder(files / "cdrom");
    makeZip(cdrom / "SIMTEL.ZIP", "SimTel MS-DOS collection index", "SIMTEL.IDX");
    // The editor of the utilities area is on the CD as well: a duplicate across two areas.
    fs::copy_file(utils / "MULTI.ZIP", cdrom / "MULTI.ZIP", fs::copy_options::overwrite_existing);
    writeFilesList(cdrom / "FILES.LST",
                   { { "SIMTEL.ZIP", sizeOf(cdrom / "SIMTEL.ZIP"), "02-01-96", { "@X0ESimTel MS-DOS collection index" } },
                     { "MULTI.ZIP",
                       sizeOf(cdrom / "MULTI.ZIP"),
                       "03-15-96",
                       { "MultiEdit 7.0", "A programmer's editor for DOS" } } });
    AreaRecord cdromArea = simpleArea(page, "Shareware CD-ROM", cdrom);
    cdromArea.cdrom = "Yes";
    BoardTool::add(mainNode, cdromArea);

    // 4. An offline area (its "CD" is a directory here, so the prompt can be answered).
    const fs::path offline = makeFolder(files / "offline");
    makeZip(offline / "GARBO.ZIP", "Garbo archive sampler", "GARBO.TXT");
    writeFilesList(offline / "FILES.LST",
                   { { "GARBO.ZIP", sizeOf(offline / "GARBO.ZIP"), "07-04-95", { "Garbo archive sampler" } } });
    AreaRecord offlineArea = simpleArea(page, "Offline CD Collection", offline);
    offlineArea.offline = "Yes";
    offlineArea.cdrom = "Yes";
    BoardTool::add(mainNode, offlineArea);

    // 5. Tracked for the index: an index path and the master flag "No".
    const fs::path uploads = makeFolder(files / "uploads");
    makeZip(uploads / "FRESH.ZIP", "Fresh upload waiting for the index", "FRESH.EXE");
    writeFile(uploads / "NOTES.TXT", dosText("Notes of the upload area.\n"));
    // A file uploaded a few days before the demo was built: the new-files list has it.
    makeZip(uploads / "DOORKIT.ZIP", "BBS door kit 1.2 - door games for your board", "DOORKIT.EXE");
    age(uploads / "DOORKIT.ZIP", 3);
    writeFilesList(uploads / "FILES.LST",
                   { { "NOTES.TXT", sizeOf(uploads / "NOTES.TXT"), "05-17-96", { "Notes of the upload area" } },
                     { "DOORKIT.ZIP",
                       sizeOf(uploads / "DOORKIT.ZIP"),
                       fileListDate(uploads / "DOORKIT.ZIP"),
                       { "BBS door kit 1.2 - door games for your board", "Uploaded By: Sam Sysop" } } });
    AreaRecord uploadsArea = simpleArea(page, "New Uploads (indexed)", uploads);
    uploadsArea.index = page.fromPath(uploads / "UPLOADS.IDX");
    uploadsArea.master = "No";
    BoardTool::add(mainNode, uploadsArea);

    // 6. An empty area: no files and no Files List yet.
    const fs::path empty = makeFolder(files / "empty");
    fs::remove(empty / "FILES.LST");
    BoardTool::add(mainNode, simpleArea(page, "Empty Area", empty));

    // The rules file the demo's settings name for the description clean-up.
    writeFile(root / "clean-rules.txt", "# Board adverts other boards add to descriptions\nUploaded to .* BBS\n");
    return mainNode;
}

} // namespace Kelvane
