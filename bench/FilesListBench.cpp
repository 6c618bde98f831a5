// How fast a Files List of 100,000 entries reads, writes and rewrites, against targets.
//
//   build/bench/files_list_bench
//
// Prints each figure with its target and PASS or FAIL; exits 1 when a target is missed.
#include "board/BoardTool.h"
#include "board/FileLookup.h"
#include "board/FilesList.h"
#include "platform/CodePage.h"
#include "platform/DurableFile.h"

#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <random>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Kelvane;
namespace fs = std::filesystem;

namespace {

constexpr int EntryCount = 100000;
constexpr int Runs = 7;

struct Measure
{
    double seconds;
    long peakKilobytes;
};

template <typename Function> double medianSeconds(Function&& function)
{
    std::vector<double> times;
    for (int run = 0; run < Runs; ++run) {
        const auto start = std::chrono::steady_clock::now();
        function();
        times.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

// Runs a program with its output discarded: its wall time and peak resident memory. A
// child forked from this process would count this process's memory as its own until it
// starts the program, so the program is started by a fresh copy of this benchmark
// ("--measure"), which holds almost nothing.
Measure measureHere(char* const* arguments)
{
    std::fflush(stdout);
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = ::fork();
    if (child == 0) {
        std::freopen("/dev/null", "w", stdout);
        std::freopen("/dev/null", "w", stderr);
        ::execv(arguments[0], arguments);
        ::_exit(127);
    }
    int status = 0;
    struct rusage usage
    {
    };
    ::wait4(child, &status, 0, &usage);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        std::fprintf(stderr, "%s failed with status %d\n", arguments[0], status);
    return { seconds, usage.ru_maxrss };
}

std::string self;

Measure runProcess(const std::vector<std::string>& arguments)
{
    std::string command = "'" + self + "' --measure";
    for (const std::string& argument : arguments)
        command += " '" + argument + "'";
    FILE* pipe = ::popen(command.c_str(), "r");
    Measure measure { 0, 0 };
    if (!pipe || std::fscanf(pipe, "%lf %ld", &measure.seconds, &measure.peakKilobytes) != 2)
        std::fprintf(stderr, "could not measure %s\n", arguments.front().c_str());
    if (pipe)
        ::pclose(pipe);
    return measure;
}

Measure medianProcess(const std::vector<std::string>& arguments)
{
    std::vector<Measure> runs;
    for (int run = 0; run < Runs; ++run)
        runs.push_back(runProcess(arguments));
    std::sort(runs.begin(), runs.end(), [](const Measure& a, const Measure& b) { return a.seconds < b.seconds; });
    long peak = 0;
    for (const Measure& measure : runs)
        peak = std::max(peak, measure.peakKilobytes);
    return { runs[runs.size() / 2].seconds, peak };
}

std::vector<Entry> makeEntries()
{
    std::mt19937 random(1996);
    const char* words[]
        = { "archive",   "utility", "game", "BBS", "door", "text",    "viewer", "fast",  "new",      "version",
            "shareware", "with",    "the",  "for", "DOS",  "Windows", "editor", "sound", "graphics", "tool" };
    std::vector<Entry> entries;
    entries.reserve(EntryCount);
    char name[16];
    for (int i = 0; i < EntryCount; ++i) {
        std::snprintf(name, sizeof name, "F%07d.ZIP", i);
        std::string description;
        const int lines = 1 + static_cast<int>(random() % 5);
        for (int line = 0; line < lines; ++line) {
            std::string text;
            while (text.size() < 38)
                text += std::string(words[random() % 20]) + ' ';
            text.resize(std::min<std::size_t>(text.size() - 1, 45));
            description += text + "\r\n";
        }
        char date[16];
        std::snprintf(date, sizeof date, "%02d-%02d-%02d", 1 + i % 12, 1 + i % 28, (90 + i % 30) % 100);
        entries.push_back({ name, ' ' + std::to_string(random() % 5000000), date, description });
    }
    return entries;
}

bool report(const char* what, double value, double target, const char* unit)
{
    const bool pass = value < target;
    std::printf("%-44s %9.1f %-3s (target < %g %s)  %s\n", what, value, unit, target, unit, pass ? "PASS" : "FAIL");
    return pass;
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc > 2 && std::string_view(argv[1]) == "--measure") {
        const Measure measure = measureHere(argv + 2);
        std::printf("%.6f %ld\n", measure.seconds, measure.peakKilobytes);
        return 0;
    }
    self = fs::canonical("/proc/self/exe").string();
    QTemporaryDir directory;
    const fs::path root = directory.path().toStdString();
    const fs::path files = root / "files";
    fs::create_directories(files);
    const fs::path list = files / "FILES.LST";

    const std::vector<Entry> entries = makeEntries();
    std::string data;
    FilesListFormat::format(entries, {}, [&](std::string_view bytes) { data.append(bytes); });
    std::ofstream(list, std::ios::binary).write(data.data(), static_cast<std::streamsize>(data.size()));
    std::printf("Files List of %d entries, %.1f MB\n\n", EntryCount, static_cast<double>(data.size()) / 1e6);

    bool pass = true;
    std::size_t readCount = 0;
    const double read = medianSeconds([&] {
        std::ifstream in(list, std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(in)), {});
        readCount = FilesListFormat::parse(bytes, {}).entries.size();
    });
    if (readCount != entries.size())
        std::printf("read %zu entries of %d\n", readCount, EntryCount);
    pass &= report("read (file to entries)", read * 1000, 80, "ms");

    const double write = medianSeconds([&] {
        TemporaryFile out(files / "OUT.LST");
        FilesListFormat::format(entries, {}, [&](std::string_view bytes) { out.write(bytes); });
        out.finish();
    });
    pass &= report("write (entries to file, flushed to disk)", write * 1000, 150, "ms");

    // The whole process, from a board: kelvane rewrite against the floor program.
    const fs::path node = root / "board";
    BoardTool::init(node);
    AreaRecord record;
    record.title = "Bench";
    record.path = files.string();
    record.filesList = list.string();
    BoardTool::add(node, record);
    ::setenv("KELVANE_HOME", (root / "program").c_str(), 1);
    ::setenv("KELVANE_SETTINGS", (root / "Vandor.ini").c_str(), 1);
    const Measure floor = medianProcess({ FLOOR_BINARY, list.string(), (files / "FLOOR.OUT").string() });
    const Measure rewrite = medianProcess({ KELVANE_BINARY, "rewrite", "1", "--main-node", node.string() });
    std::printf("%-44s %9.1f ms\n", "floor process (read, split, write, flush)", floor.seconds * 1000);
    pass &= report("kelvane rewrite, whole process", rewrite.seconds * 1000, 300, "ms");
    pass &= report("kelvane rewrite / floor process", rewrite.seconds / floor.seconds, 4, "x");
    pass &= report("kelvane rewrite, peak memory", static_cast<double>(rewrite.peakKilobytes) / 1024, 80, "MB");
    std::printf("\n%s\n", pass ? "All targets met." : "Some targets were missed.");
    return pass ? 0 : 1;
}
