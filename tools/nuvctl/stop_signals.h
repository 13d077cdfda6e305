// Interruption as something to wait for.
#pragma once

#include <signal.h>

#include <chrono>
#include <initializer_list>

namespace nuvctl {

/// While it lives, interrupt, termination, hang-up and a closed pipe at standard output do not end
/// the process but wait here, for it and the threads that it starts; a hang-up or closed pipe that
/// is ignored stays so. Construct it before the first thread.
class Stop_signals {
public:
    /// `others` are waited for as well, but do not stop.
    explicit Stop_signals(std::initializer_list<int> others = {});
    Stop_signals(const Stop_signals&) = delete;
    Stop_signals& operator=(const Stop_signals&) = delete;
    /// What has come meanwhile, and what comes from now on, ends the process again; a closed pipe
    /// stays without effect.
    ~Stop_signals();

    /// The number of the signal that comes first within `patience`, or 0. A stop signal is the last
    /// that waits here: the next one ends the process at once.
    int next_within(std::chrono::milliseconds patience);
    bool stops(int number) const;
    bool came_within(std::chrono::milliseconds patience);
    void wait();

private:
    /// A closed pipe stays closed: whatever is still written must not end the process.
    void stop_waiting();

    sigset_t signals;
    sigset_t not_stopping;
};

}  // namespace nuvctl
