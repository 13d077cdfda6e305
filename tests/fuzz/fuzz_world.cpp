#include "fuzz/fuzz_world.h"

#include "support/private_world.h"

#include <nuvkit/log.h>

#include <cstdio>
#include <cstdlib>

namespace nuv_fuzz {

void enter_world(char** argv) {
    setenv("TMPDIR", "/dev/shm", 1);  // the private one: quick, and gone with the process
    nuv_test::enter_private_world(argv);
}

std::unique_ptr<CNuv_Log> make_log() {
    return std::make_unique<CNuv_Log>(CNuv_Log::Settings{});
}

void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "not so: %s\n", what);
        std::abort();
    }
}

}  // namespace nuv_fuzz
