#pragma once

// What the benchmarks share: a median of several timed runs and a figure printed against
// its target with PASS or FAIL.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <vector>

namespace Kelvane::Bench {

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
