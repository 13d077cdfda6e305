// robustness RUN [LENGTH]
#include "processes.h"
#include "runs.h"
#include "support/private_world.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

namespace {

struct Named_run {
    const char* name;
    void (*run)(int length);
    const char* length;
    int length_of_a_test;
};

constexpr Named_run runs[] = {
    {"steps", robustness::run_steps, "0 for a sample, 1 for every step in real time", 0},
    {"storm", robustness::run_storm, "seconds", 10},
    {"lost_sem_rw", robustness::run_lost_sem_rw, "rounds", 1},
    {"lost_sem_update", robustness::run_lost_sem_update, "rounds", 1},
    {"stopping", robustness::run_stopping, "rounds", 250},
};

int play(const Named_run& run, char** argv) {
    nuv_test::enter_private_world(argv);
    const char* end = "no violation";
    try {
        run.run(argv[2] != nullptr ? std::atoi(argv[2]) : run.length_of_a_test);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        end = "FAILED";
    }
    const robustness::Tally& tally = robustness::tally();
    std::printf("%s: %ld cases, %ld deaths and stops, %ld clears, slowest %ld ms: %s\n", run.name,
                tally.cases.load(), tally.hits.load(), tally.clears.load(), tally.slowest.load(),
                end);
    nuv_test::leave_private_world();
    return *end == 'n' ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    for (const Named_run& run : runs) {
        if (argc > 1 && run.name == std::string(argv[1])) {
            return play(run, argv);
        }
    }
    std::fputs("usage: robustness RUN [LENGTH]\n", stderr);
    for (const Named_run& run : runs) {
        std::fprintf(stderr, "  %-16s %s\n", run.name, run.length);
    }
    return 2;
}
