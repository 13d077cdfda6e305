// What the processes of a run share: memory, time limits, lanes, and how they say what went wrong.
#pragma once

#include "support/child_process.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

namespace robustness {

using namespace std::chrono_literals;
using nuv_test::Process;
using nuv_test::Shared;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

/// A promise was broken: an exception, which ends the process, and with it the run.
[[noreturn]] void fail(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// What a run has seen, over all of its processes.
struct Tally {
    std::atomic<long> cases{0};
    std::atomic<long> hits{0};  ///< deaths and stops where they were meant to be
    std::atomic<long> clears{0};
    std::atomic<long> slowest{0};  ///< in milliseconds
};
Tally& tally();
/// Raises the slowest to the time since then.
void keep_slowest(Clock::time_point start);

/// Waits for what another process or thread will do. Time during which the whole machine stood
/// still does not count: so it looks often enough as well before it gives up.
/// \return false when it did not come about in time
template <class Condition>
bool wait_for(milliseconds at_most, Condition holds) {
    const auto deadline = Clock::now() + at_most;
    const auto enough_looks = at_most.count() / 4;
    for (long looks = 0; !holds(); ++looks) {
        if (Clock::now() >= deadline && looks >= enough_looks) {
            return false;
        }
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

/// From now on a signal is handled ten times a second, which cuts system calls short.
void interrupt_often();

/// Runs `run(0)` to `run(count - 1)`, spread over that many lanes: forked processes, each with a
/// /dev/shm of its own, in which one case runs after the other, each without a region at first.
/// Fails when one of them does; then no other is begun.
void run_in_lanes(int lanes, int count, const std::function<void(int number)>& run);

}  // namespace robustness
