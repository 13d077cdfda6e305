// Interruption as something to wait for.
#pragma once

#include <signal.h>

#include <chrono>

namespace nuvctl {

/// From construction on, interrupt, termination, hang-up and a closed pipe at standard output no
/// longer end the process but wait here, for it and the threads that it starts; a hang-up or closed
/// pipe that is ignored stays so. Construct it before the first thread.
class Stop_signals {
public:
    Stop_signals();
    Stop_signals(const Stop_signals&) = delete;
    Stop_signals& operator=(const Stop_signals&) = delete;

    /// True when one has come, within `patience`. The next one after that ends the process at once.
    bool came_within(std::chrono::milliseconds patience);
    void wait();

private:
    sigset_t signals;
};

}  // namespace nuvctl
