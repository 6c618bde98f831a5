#pragma once

#include <cstdio>
#include <cstdlib>

namespace Kelvane::Fuzz {

// A broken promise of the code under test: said, then reported to libFuzzer as a crash, so
// the input that broke it is kept as the reproducer.
inline void check(bool holds, const char* promise)
{
    if (holds)
        return;
    std::fprintf(stderr, "Broken: %s\n", promise);
    std::abort();
}

} // namespace Kelvane::Fuzz
