// robustness RUN [SECONDS_OR_ROUNDS]
#include "process.h"
#include "runs.h"
#include "support/private_world.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>

namespace {

struct Named_run {
    const char* name;
    bool (*run)(int length);
    const char* length;
};

constexpr Named_run runs[] = {
    {"steps", robustness::run_steps, "0 for a sample, 1 for every step in real time"},
    {"storm", robustness::run_storm, "seconds"},
    {"stampede", robustness::run_stampede, "rounds"},
    {"slow", robustness::run_slow, "rounds"},
    {"leaving", robustness::run_leaving, "rounds"},
    {"lost_sem_rw", robustness::run_lost_sem_rw, "rounds"},
    {"lost_sem_update", robustness::run_lost_sem_update, "rounds"},
    {"forks", robustness::run_forks, "rounds"},
    {"stopping", robustness::run_stopping, "rounds"},
};

int usage() {
    std::fputs("usage: robustness RUN [LENGTH]\n", stderr);
    for (const Named_run& run : runs) {
        std::fprintf(stderr, "  %-16s %s\n", run.name, run.length);
    }
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string name = argc > 1 ? argv[1] : "";
    const auto* const run = std::find_if(std::begin(runs), std::end(runs),
                                         [&](const Named_run& each) { return each.name == name; });
    if (run == std::end(runs)) {
        return usage();
    }
    nuv_test::enter_private_world(argv);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    bool well = false;
    try {
        well = run->run(argc > 2 ? std::atoi(argv[2]) : 0);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    std::printf("%s: %s\n", run->name, well ? "no violation" : "FAILED");
    nuv_test::leave_private_world();
    return well ? 0 : 1;
}
