#include "processes.h"

#include "region_view.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>
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

bool ends_well(Process& process, milliseconds at_most) {
    return wait_for(at_most, [&] { return process.has_ended(); }) && process.wait() == 0;
}

long milliseconds_since(Clock::time_point start) {
    return static_cast<long>((Clock::now() - start) / 1ms);
}

void keep_slowest(std::atomic<long>& slowest, Clock::time_point start) {
    const long took = milliseconds_since(start);
    long before = slowest;
    while (before < took && !slowest.compare_exchange_weak(before, took)) {
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

bool run_in_lanes(int lanes, int count, const std::function<void(int number)>& run) {
    const Shared<std::atomic<int>> next;
    std::vector<Process> processes;
    for (int lane = 0; lane < std::min(lanes, count); ++lane) {
        processes.emplace_back([&] {
            // The source's name is what tells a private /dev/shm from the machine's, see
            // tests/support/private_world.cpp.
            if (unshare(CLONE_NEWNS) != 0 ||
                mount("nuv_test", "/dev/shm", "tmpfs", MS_NOSUID | MS_NODEV, "mode=1777") != 0) {
                fail("no /dev/shm of its own: %s", std::strerror(errno));
            }
            for (int number = (*next)++; number < count; number = (*next)++) {
                std::remove(region_file);
                run(number);
            }
        });
    }
    bool all_well = true;
    while (!processes.empty() && all_well) {
        const auto ended = std::find_if(processes.begin(), processes.end(),
                                        [](Process& process) { return process.has_ended(); });
        if (ended == processes.end()) {
            std::this_thread::sleep_for(2ms);
            continue;
        }
        all_well = ended->wait() == 0;
        processes.erase(ended);
    }
    return all_well;
}

}  // namespace robustness
