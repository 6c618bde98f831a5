// The board-wide reader on a board of 100 areas of 10,000 entries each (a million entries):
// the time to read every Files List, the peak memory of the run, and, with --files, the
// time to list the areas' million files as well.

#include "BenchSupport.h"

#include "boardwide/BoardReader.h"

#include <QTemporaryDir>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <sys/resource.h>

using namespace Kelvane;
namespace fs = std::filesystem;

namespace {

constexpr int AreaCount = 100;
constexpr int EntriesPerArea = 10000;


class Counter : public AreaVisitor
{
public:
    void areaRead(AreaContents& contents) override
    {
        entries += contents.entries.size();
        files += contents.files.size();
    }
    void areaSkipped(const AreaProblem&) override { ++skipped; }

    std::size_t entries = 0;
    std::size_t files = 0;
    int skipped = 0;
};

} // namespace

int main(int argc, char* argv[])
{
    const bool withFiles = argc > 1 && std::strcmp(argv[1], "--files") == 0;
    QTemporaryDir temporary;
    const fs::path root = temporary.path().toStdString();
    std::printf("Building a board of %d areas x %d entries%s...\n", AreaCount, EntriesPerArea,
                withFiles ? " with their files" : "");
    const fs::path node = Bench::buildBoard(root, AreaCount, EntriesPerArea, Bench::benchEntry,
                                         withFiles ? [](const fs::path& directory, const Entry& entry) {
                                             std::ofstream(directory / entry.FileName).put('x');
                                         } : std::function<void(const fs::path&, const Entry&)> {});

    const CodePage& page = CodePage::windows1252();
    std::vector<int> all;
    for (int number = 1; number <= AreaCount; ++number)
        all.push_back(number);
    bool pass = true;
    Counter counted;
    const double lists = Bench::medianSeconds(3, [&] {
        const Board board = Board::open(node, page);
        BoardReader reader(board);
        counted = Counter();
        reader.read(all, counted);
    });
    if (counted.entries != static_cast<std::size_t>(AreaCount) * EntriesPerArea || counted.skipped != 0) {
        std::printf("read %zu entries, skipped %d areas: wrong\n", counted.entries, counted.skipped);
        return 1;
    }
    pass &= Bench::report("every Files List of 1,000,000 entries", lists * 1000, 2000, "ms");
    if (withFiles) {
        const double listed = Bench::medianSeconds(3, [&] {
            const Board board = Board::open(node, page);
            BoardReader reader(board, { .entries = true, .files = true });
            counted = Counter();
            reader.read(all, counted);
        });
        pass &= Bench::report("the lists and 1,000,000 files listed", listed * 1000, 2000, "ms");
    }
    struct rusage usage
    {
    };
    getrusage(RUSAGE_SELF, &usage);
    pass &= Bench::report("peak memory of the run", static_cast<double>(usage.ru_maxrss) / 1024, 150, "MB");
    return Bench::finish(pass);
}
