// What the fuzzers share: a world of their own, and a way to fail.
#pragma once

#include "support/private_world.h"

#include <cstdio>
#include <cstdlib>

namespace nuv_fuzz {

/// Has the process use a private /dev/shm and a private folder of INI files from here on.
inline void enter_world(char** argv) {
    setenv("TMPDIR", "/dev/shm", 1);  // the private one: quick, and gone with the process
    nuv_test::enter_private_world(argv);
}

/// Ends the process as a finding when an answer is wrong.
inline void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "not so: %s\n", what);
        std::abort();
    }
}

}  // namespace nuv_fuzz
