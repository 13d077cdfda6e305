#include "fuzz/fuzz_world.h"

#include "support/private_world.h"

#include <cstdio>
#include <cstdlib>

namespace nuv_fuzz {

void enter_world(char** argv) {
    setenv("TMPDIR", "/dev/shm", 1);  // the private one: quick, and gone with the process
    nuv_test::enter_private_world(argv);
}

void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "not so: %s\n", what);
        std::abort();
    }
}

}  // namespace nuv_fuzz
