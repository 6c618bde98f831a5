// The new-file scan of an area of 20,000 files, 10,000 of them new ZIP archives carrying a
// FILE_ID.DIZ, against its target, against its floor (scan_floor: each archive opened with
// libarchive and its FILE_ID.DIZ read into memory, nothing else) and against a loop running one
// "unzip -p" per archive (a tenth of them timed, scaled to all).
//
//   build/bench/scan_bench
//
// Needs the unzip program for the comparison (Debian package unzip).
#include "BenchSupport.h"

#include "board/BoardTool.h"
#include "board/CurrentArea.h"
#include "board/Session.h"
#include "editor/EntryTable.h"
#include "editor/FileScan.h"
#include "platform/CodePage.h"
#include "platform/ZipWriter.h"

#include <QTemporaryDir>

#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

using namespace Kelvane;
using namespace Kelvane::Bench;
namespace fs = std::filesystem;

namespace {

constexpr int ListedCount = 10000;
constexpr int NewCount = 10000;

// One "unzip -p ARCHIVE FILE_ID.DIZ" with its output discarded.
void unzipOne(const fs::path& archive)
{
    std::fflush(stdout); // or the child would write this process's pending output again
    const pid_t child = ::fork();
    if (child == 0) {
        std::freopen("/dev/null", "w", stdout);
        std::freopen("/dev/null", "w", stderr);
        ::execlp("unzip", "unzip", "-p", archive.c_str(), "FILE_ID.DIZ", static_cast<char*>(nullptr));
        ::_exit(127);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
}

} // namespace

int main()
{
    QTemporaryDir directory;
    const fs::path root = directory.path().toStdString();
    const fs::path files = root / "files";
    fs::create_directories(files);
    EntryList listed;
    char name[32];
    for (int i = 0; i < ListedCount; ++i) {
        std::snprintf(name, sizeof name, "OLD%05d.TXT", i);
        std::ofstream(files / name) << "listed already";
        listed.push_back({ name, " 14", "01-01-96", "Listed\r\n" });
    }
    std::vector<fs::path> archives;
    for (int i = 0; i < NewCount; ++i) {
        std::snprintf(name, sizeof name, "NEW%05d.ZIP", i);
        archives.push_back(files / name);
        writeZip(archives.back(),
                 { { "FILE_ID.DIZ", "New archive " + std::to_string(i) + "\r\nA second line of its description\r\n" },
                   { "PROGRAM.EXE", std::string(2000, 'p') } });
    }
    BenchArea area(root, files);
    Session& session = area.session;
    EntryTable table;
    std::size_t added = 0;
    const double scan = medianSeconds(
        3, [&] { added = mnuFileScan_Click(session, table); }, [&] { table.reset(listed); });
    std::printf("An area of %d files, %d of them new ZIP archives (%zu added)\n\n", ListedCount + NewCount, NewCount,
                added);
    bool pass = report("scan", scan * 1000, 1000, "ms");
    const double floor = floorSeconds(3, { SCAN_FLOOR_BINARY, writePaths(root / "archives.txt", archives) });
    std::printf("%-48s %9.1f ms\n", "floor: libarchive reads each FILE_ID.DIZ", floor * 1000);
    pass &= report("scan against its floor", scan / floor, 2, "x");

    // A process per archive costs the same for each: a tenth of them, timed and scaled,
    // says as much as all of them in a tenth of the time.
    const std::size_t sampled = archives.size() / 10;
    const double loop = medianSeconds(1, [&] {
        for (std::size_t i = 0; i < sampled; ++i)
            unzipOne(archives[i]);
    }) * static_cast<double>(archives.size()) / static_cast<double>(sampled);
    std::printf("%-48s %9.1f ms (%zu timed, scaled)\n", "one unzip -p per archive", loop * 1000, sampled);
    pass &= reportAtLeast("scan against the unzip loop", loop / scan, 15, "x");
    return finish(pass);
}
