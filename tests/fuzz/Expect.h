#pragma once

#include <cstdio>
#include <cstdlib>

namespace ferrolt {

/// Ends the process, which a fuzzer takes for a crash, unless the condition holds.
inline void expect(bool holds, const char *file = __builtin_FILE(), int line = __builtin_LINE()) {
    if (holds)
        return;
    std::fprintf(stderr, "%s:%d: does not hold\n", file, line);
    std::abort();
}

}  // namespace ferrolt
