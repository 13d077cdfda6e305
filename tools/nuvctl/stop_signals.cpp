#include "stop_signals.h"

#include <ctime>

namespace nuvctl {
namespace {

bool is_ignored(int number) {
    struct sigaction action = {};
    sigaction(number, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

}  // namespace

Stop_signals::Stop_signals(std::initializer_list<int> others) {
    sigemptyset(&signals);
    sigemptyset(&not_stopping);
    for (const int number : others) {
        sigaddset(&signals, number);
        sigaddset(&not_stopping, number);
    }
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

Stop_signals::~Stop_signals() {
    stop_waiting();
}

void Stop_signals::stop_waiting() {
    sigdelset(&signals, SIGPIPE);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

int Stop_signals::next_within(std::chrono::milliseconds patience) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(patience);
    timespec limit = {};
    limit.tv_sec = seconds.count();
    limit.tv_nsec = std::chrono::nanoseconds(patience - seconds).count();
    const int number = sigtimedwait(&signals, nullptr, &limit);
    if (number < 0) {
        return 0;
    }
    if (stops(number)) {
        stop_waiting();
    }
    return number;
}

bool Stop_signals::stops(int number) const {
    return number > 0 && sigismember(&not_stopping, number) == 0;
}

bool Stop_signals::came_within(std::chrono::milliseconds patience) {
    return stops(next_within(patience));
}

void Stop_signals::wait() {
    while (!came_within(std::chrono::hours(1))) {
    }
}

}  // namespace nuvctl
