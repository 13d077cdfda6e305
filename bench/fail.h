#pragma once

#include <cstdio>
#include <cstdlib>

namespace nuv_bench {

/// A figure that was measured on something else than what it is said to be is worse than none.
[[noreturn]] inline void fail(const char* what) {
    std::fprintf(stderr, "nuv_bench: %s\n", what);
    std::exit(1);
}

inline void require(bool condition, const char* what) {
    if (!condition) {
        fail(what);
    }
}

}  // namespace nuv_bench
