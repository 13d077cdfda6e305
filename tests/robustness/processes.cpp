#include "processes.h"

#include "region_view.h"
#include "support/private_world.h"

#include <sys/time.h>

#include <algorithm>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <stdexcept>
#include <vector>

namespace robustness {
void fail(const char* format, ...) {
    char text[500];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    throw std::runtime_error(text);
}

Tally& tally() {
    static const Shared<Tally> shared;
    return *shared;
}

void keep_slowest(Clock::time_point start) {
    const long took = static_cast<long>((Clock::now() - start) / 1ms);
    long before = tally().slowest;
    while (before < took && !tally().slowest.compare_exchange_weak(before, took)) {
    }
}

void interrupt_often() {
    struct sigaction nothing {};
    nothing.sa_handler = [](int) {};
    sigaction(SIGALRM, &nothing, nullptr);
    const timeval period{0, 100'000};
    const itimerval timer{period, period};
    setitimer(ITIMER_REAL, &timer, nullptr);
}

void run_in_lanes(int lanes, int count, const std::function<void(int number)>& run) {
    tally();  // made here, so that it is shared
    const Shared<std::atomic<int>> next;
    std::vector<Process> processes;
    for (int lane = 0; lane < std::min(lanes, count); ++lane) {
        processes.emplace_back([&] {
            nuv_test::enter_another_shm();
            for (int number = (*next)++; number < count; number = (*next)++) {
                std::remove(region_file);
                try {
                    run(number);
                } catch (...) {
                    *next = count;
                    throw;
                }
            }
        });
    }
    if (!std::all_of(processes.begin(), processes.end(),
                     [](Process& process) { return process.wait() == 0; })) {
        fail("a case has failed");
    }
}

}  // namespace robustness
