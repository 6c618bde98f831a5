// Rebuilding the index of an area of 100,000 files, against its target.
//
//   build/bench/make_index_bench
//
// The files (empty; mostly 8.3 names, one in ten long) lie in the area's main directory and
// two additional ones. Listing the three directories is timed alone, then the whole rebuild;
// the target is on what the rebuild takes beyond the listing.
#include "BenchSupport.h"

#include "board/BoardTool.h"
#include "board/CurrentArea.h"
#include "board/Session.h"
#include "board/UserPort.h"
#include "index/MakeIndex.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"

#include <QTemporaryDir>

#include <fstream>
#include <string>

using namespace Kelvane;
using namespace Kelvane::Bench;
namespace fs = std::filesystem;

namespace {

constexpr int FileCount = 100000;
constexpr int DirectoryCount = 3;
constexpr int Runs = 5;

std::string fileName(int number)
{
    if (number % 10 == 0)
        return "Long file name number " + std::to_string(number) + ".zip";
    char name[16];
    std::snprintf(name, sizeof name, "F%07d.ZIP", number);
    return name;
}

} // namespace

int main()
{
    QTemporaryDir temporary;
    const fs::path root = temporary.path().toStdString();
    std::vector<fs::path> directories;
    for (int i = 0; i < DirectoryCount; ++i) {
        directories.push_back(root / ("dir" + std::to_string(i)));
        fs::create_directories(directories.back());
    }
    for (int number = 0; number < FileCount; ++number)
        std::ofstream(directories[static_cast<std::size_t>(number % DirectoryCount)] / fileName(number));

    const fs::path node = root / "board";
    BoardTool::init(node);
    AreaRecord record;
    record.title = "Bench";
    record.path = directories[0].string();
    for (int i = 1; i < DirectoryCount; ++i)
        record.alt[static_cast<std::size_t>(i - 1)] = directories[static_cast<std::size_t>(i)].string();
    record.filesList = (directories[0] / "FILES.LST").string();
    const fs::path index = root / "idx" / "AREA.IDX";
    record.index = index.string();
    const int number = BoardTool::add(node, record);

    SilentPort port;
    Session session(port, root / "program", CodePage::windows1252());
    session.area.MainNodePath = node;
    std::printf("An area of %d files in %d directories\n\n", FileCount, DirectoryCount);

    std::size_t listed = 0;
    const double listing = medianSeconds(Runs, [&] {
        listed = 0;
        for (const fs::path& directory : directories)
            listed += listDirectoryFiles(directory).size();
    });
    const double rebuild = medianSeconds(
        Runs, [&] { Make_Index_File(session); }, [&] { AddToMakeIndexList(session, number); });
    std::error_code error;
    const auto size = fs::file_size(index, error);
    const bool complete = !error && listed == FileCount && size == FileCount * 15u;

    std::printf("%-48s %9.1f ms\n", "listing the three directories alone", listing * 1000);
    std::printf("%-48s %9.1f ms\n", "Make_Index_File, whole", rebuild * 1000);
    bool pass = report("Make_Index_File beyond listing", (rebuild - listing) * 1000, 300, "ms");
    std::printf("%-48s %9llu bytes (%s)\n", "index written", static_cast<unsigned long long>(error ? 0 : size),
                complete ? "one record per file" : "WRONG SIZE: FAIL");
    pass &= complete;
    return finish(pass);
}
