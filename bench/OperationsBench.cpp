// The editor's operations over an area of 100,000 entries, against their targets.
//
//   build/bench/operations_bench
//
// Sorting by size and by date; Erase, File Date, File Length and the uploader cut on
// 100,000 selected entries; File Date and File Length together, as kelvane refresh takes
// them in one pass, against their floor (each file stat'ed and its date formatted, nothing
// else); and the area check.
#include "BenchSupport.h"

#include "board/BoardTool.h"
#include "board/CurrentArea.h"
#include "board/Session.h"
#include "editor/AreaCheck.h"
#include "editor/EntryTable.h"
#include "editor/Operations.h"
#include "platform/CodePage.h"
#include "sortmove/SortView.h"

#include <QTemporaryDir>

#include <fstream>
#include <random>

using namespace Kelvane;
using namespace Kelvane::Bench;
namespace fs = std::filesystem;

namespace {

constexpr int EntryCount = 100000;

EntryList makeEntries(std::mt19937& random)
{
    EntryList entries;
    entries.reserve(EntryCount);
    char name[16];
    char date[16];
    for (int i = 0; i < EntryCount; ++i) {
        std::snprintf(name, sizeof name, "F%07d.ZIP", i);
        std::snprintf(date, sizeof date, "%02d-%02d-%02d", 1 + static_cast<int>(random() % 12),
                      1 + static_cast<int>(random() % 28), static_cast<int>(random() % 100));
        entries.push_back({ name, ' ' + std::to_string(1 + random() % 5000000), date,
                            "A description of the file\r\nUploaded By: someone\r\n" });
    }
    return entries;
}

} // namespace

int main()
{
    QTemporaryDir directory;
    const fs::path root = directory.path().toStdString();
    const fs::path files = root / "files";
    fs::create_directories(files);
    // Every entry's file exists, of the size its entry says (sparse, so the disk holds
    // little), so File Date and File Length find all of them.
    std::mt19937 random(1996);
    const EntryList entries = makeEntries(random);
    for (const Entry& entry : entries) {
        std::ofstream(files / entry.FileName) << entry.FileName; // content of its own
        fs::resize_file(files / entry.FileName, std::stoull(entry.Size));
    }
    BenchArea area(root, files);
    Session& session = area.session;
    EntryTable table;
    std::printf("An area of %d entries\n\n", EntryCount);

    bool pass = true;
    for (const auto& [what, column] :
         { std::pair { "sort by size", SortView::Size }, std::pair { "sort by date", SortView::Date } }) {
        std::unique_ptr<SortView> view;
        const double seconds = medianSeconds(
            5, [&, column = column] { view->columnClick(column); },
            [&] {
                table.reset(entries);
                view = std::make_unique<SortView>(session, table);
            });
        pass &= report(what, seconds * 1000, 50, "ms");
    }
    const auto selectedRun = [&](const char* what, void (*operation)(Session&, EntryTable&)) {
        const double seconds = medianSeconds(
            5, [&] { operation(session, table); },
            [&] {
                table.reset(entries);
                table.selectAll();
            });
        pass &= report(what, seconds * 1000, 300, "ms");
    };
    selectedRun("erase 100,000 selected entries", mnuEraseFilesListOnly_Click);
    selectedRun("File Date of 100,000 selected entries", mnuFileDate_Click);
    selectedRun("File Length of 100,000 selected entries", mnuFileLength_Click);
    selectedRun("uploader cut of 100,000 selected entries", mnuRemoveUploadBy_Click);
    const double refresh = medianSeconds(
        5, [&] { RefreshDatesAndLengths(session, table); },
        [&] {
            table.reset(entries);
            table.selectAll();
        });
    std::vector<fs::path> paths;
    for (const Entry& entry : entries)
        paths.push_back(files / entry.FileName);
    const double floor = floorSeconds(5, { REFRESH_FLOOR_BINARY, writePaths(root / "files.txt", paths) });
    std::printf("%-48s %9.1f ms\n%-48s %9.1f ms\n", "File Date and File Length together", refresh * 1000,
                "floor: a stat and a formatted date per file", floor * 1000);
    pass &= report("File Date and File Length against their floor", refresh / floor, 2, "x");
    const double check = medianSeconds(3, [&] { checkArea(session, entries); });
    pass &= report("check of a 100,000-entry area", check * 1000, 1000, "ms");
    return finish(pass);
}
