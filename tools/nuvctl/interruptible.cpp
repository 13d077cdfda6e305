#include "interruptible.h"

#include <future>
#include <iostream>
#include <string>

namespace nuvctl {

bool run_interruptibly(Stop_signals& signals, const char* notice,
                       const std::function<void()>& step) {
    constexpr std::chrono::milliseconds pause(20);
    std::future<void> running = std::async(std::launch::async, step);
    bool interrupted = false;
    while (running.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
        if (interrupted) {
            running.wait();
        } else if (signals.came_within(pause)) {
            interrupted = true;
            std::cerr << std::string("nuvctl: ") + notice + '\n';
        }
    }
    running.get();
    return interrupted;
}

}  // namespace nuvctl
