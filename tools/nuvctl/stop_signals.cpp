#include "stop_signals.h"

#include <ctime>
#include <initializer_list>

namespace nuvctl {
namespace {

bool is_ignored(int number) {
    struct sigaction action = {};
    sigaction(number, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

}  // namespace

Stop_signals::Stop_signals() {
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    // Blocking would bring back what nohup or a service manager has switched off.
    for (const int number : {SIGHUP, SIGPIPE}) {
        if (!is_ignored(number)) {
            sigaddset(&signals, number);
        }
    }
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

bool Stop_signals::came_within(std::chrono::milliseconds patience) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(patience);
    timespec limit = {};
    limit.tv_sec = seconds.count();
    limit.tv_nsec = std::chrono::nanoseconds(patience - seconds).count();
    if (sigtimedwait(&signals, nullptr, &limit) < 0) {
        return false;
    }
    // A closed pipe stays closed: whatever is still written must not end the shutdown.
    sigdelset(&signals, SIGPIPE);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    return true;
}

void Stop_signals::wait() {
    while (!came_within(std::chrono::hours(1))) {
    }
}

}  // namespace nuvctl
