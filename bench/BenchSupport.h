#pragma once

// What the benchmarks share: a median of several timed runs and a figure printed against
// its target with PASS or FAIL.

#include "board/BoardTool.h"
#include "board/CurrentArea.h"
#include "board/FilesList.h"
#include "board/Session.h"
#include "platform/CodePage.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Kelvane::Bench {

/// A board of one area whose files lie in files, opened as the editor opens it, with a
/// port that agrees to everything.
struct BenchArea
{
    BenchArea(const std::filesystem::path& root, const std::filesystem::path& files)
        : session(port, root / "program", CodePage::windows1252())
    {
        const std::filesystem::path node = root / "board";
        BoardTool::init(node);
        AreaRecord record;
        record.title = "Bench";
        record.path = files.string();
        record.filesList = (files / "FILES.LST").string();
        BoardTool::add(node, record);
        session.area.MainNodePath = node;
        session.area.AreaNumber = 1;
        Farea_Dat_Initialize(session);
    }

    SilentPort port { true };
    Session session;
};

/// Writes entries as the Files List of directory and adds the area "Area <number>" over
/// directory to the board at node: the board-wide benchmarks' areas.
inline void addListedArea(const std::filesystem::path& node,
                          int number,
                          const std::filesystem::path& directory,
                          const EntryList& entries)
{
    std::ofstream list(directory / "FILES.LST", std::ios::binary);
    FilesListFormat::format(entries, {}, [&](std::string_view bytes) {
        list.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    });
    AreaRecord record;
    record.title = "Area " + std::to_string(number);
    record.path = directory.string();
    record.filesList = (directory / "FILES.LST").string();
    BoardTool::add(node, record);
}

/// A board at root/board of areaCount areas, "Area 1" on, each over root/areas/A<number>
/// with entriesPerArea entries from entryOf(area, i); with writeFile, each entry's file is
/// written by it into the area's directory.
inline std::filesystem::path
buildBoard(const std::filesystem::path& root,
           int areaCount,
           int entriesPerArea,
           const std::function<Entry(int area, int i)>& entryOf,
           const std::function<void(const std::filesystem::path& directory, const Entry& entry)>& writeFile = {})
{
    const std::filesystem::path node = root / "board";
    BoardTool::init(node);
    for (int area = 1; area <= areaCount; ++area) {
        const std::filesystem::path directory = root / "areas" / ("A" + std::to_string(area));
        std::filesystem::create_directories(directory);
        EntryList entries;
        entries.reserve(static_cast<std::size_t>(entriesPerArea));
        for (int i = 0; i < entriesPerArea; ++i) {
            entries.push_back(entryOf(area, i));
            if (writeFile)
                writeFile(directory, entries.back());
        }
        addListedArea(node, area, directory, entries);
    }
    return node;
}

/// The entry the board-wide benchmarks list by default: F<area><i>.ZIP with two lines of
/// description.
inline Entry benchEntry(int area, int i)
{
    char name[16];
    std::snprintf(name, sizeof name, "F%03d%04d.ZIP", area, i);
    return { name, " " + std::to_string(1000 + i), "05-17-96",
             "A file of the bench board, number " + std::to_string(i) + "\r\nwith a second line of description\r\n" };
}

/// The median wall time of runs calls of work, each after prepare (not timed).
inline double medianSeconds(int runs, const std::function<void()>& work, const std::function<void()>& prepare = {})
{
    std::vector<double> times;
    for (int run = 0; run < runs; ++run) {
        if (prepare)
            prepare();
        const auto start = std::chrono::steady_clock::now();
        work();
        times.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

/// One run of a program: its wall time and peak resident memory.
struct ProgramRun
{
    double seconds = 0;
    double megabytes = 0;
    bool failed = false;
};

/// Runs a program to its end with its output discarded.
inline ProgramRun runProgram(const std::vector<std::string>& arguments)
{
    std::vector<char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    std::fflush(stdout); // or the child would write this process's pending output again
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = ::fork();
    if (child == 0) {
        std::freopen("/dev/null", "w", stdout);
        std::freopen("/dev/null", "w", stderr);
        ::execv(argv[0], argv.data());
        ::_exit(127);
    }
    int status = 0;
    struct rusage usage
    {
    };
    ::wait4(child, &status, 0, &usage);
    ProgramRun run;
    run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    run.megabytes = static_cast<double>(usage.ru_maxrss) / 1024;
    run.failed = !WIFEXITED(status) || WEXITSTATUS(status) != 0;
    return run;
}

/// Writes paths one a line into file, for a floor program to take in that order.
inline std::string writePaths(const std::filesystem::path& file, const std::vector<std::filesystem::path>& paths)
{
    std::ofstream out(file);
    for (const std::filesystem::path& path : paths)
        out << path.string() << '\n';
    return file.string();
}

/// The median wall time of runs runs of a floor program; a failed run is said.
inline double floorSeconds(int runs, const std::vector<std::string>& arguments)
{
    return medianSeconds(runs, [&] {
        if (runProgram(arguments).failed)
            std::printf("%s failed\n", arguments.front().c_str());
    });
}

/// Prints one figure against its target; true when the target is met.
inline bool report(const char* what, double value, double target, const char* unit)
{
    const bool pass = value < target;
    std::printf("%-48s %9.1f %-3s (target < %g %s)  %s\n", what, value, unit, target, unit, pass ? "PASS" : "FAIL");
    return pass;
}

/// Prints one figure against a target it must reach; true when it does.
inline bool reportAtLeast(const char* what, double value, double target, const char* unit)
{
    const bool pass = value >= target;
    std::printf("%-48s %9.1f %-3s (target >= %g %s)  %s\n", what, value, unit, target, unit, pass ? "PASS" : "FAIL");
    return pass;
}

inline int finish(bool pass)
{
    std::printf("\n%s\n", pass ? "All targets met." : "Some targets were missed.");
    return pass ? 0 : 1;
}

} // namespace Kelvane::Bench
