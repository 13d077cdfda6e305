// Forked processes, memory that they share, and what went wrong.
#pragma once

#include <sys/mman.h>
#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>

namespace robustness {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// A promise was broken. In a forked process it is written to standard error, and the process ends.
struct Violation : std::runtime_error {
    using std::runtime_error::runtime_error;
};

[[noreturn]] void fail(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Memory that is shared with all processes that are forked later.
template <class Value>
class Shared {
public:
    Shared()
        : value(new (mmap(nullptr, sizeof(Value), PROT_READ | PROT_WRITE,
                          MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Value) {}
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;
    ~Shared() { munmap(value, sizeof(Value)); }

    Value* operator->() const { return value; }
    Value& operator*() const { return *value; }

private:
    Value* value;
};

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
        std::this_thread::sleep_for(milliseconds(1));
    }
    return true;
}

/// Raises a shared maximum.
void keep_slowest(std::atomic<long>& slowest, long took);
long milliseconds_since(Clock::time_point start);

/// From now on a signal is handled ten times a second, which cuts system calls short.
void interrupt_often();

/// A forked process. It is killed when this object goes, and when its parent ends.
class Process {
public:
    enum class State { running, stopped, ended };

    explicit Process(const std::function<int()>& body);
    Process(Process&& other) noexcept;
    Process& operator=(Process&& other) noexcept;
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process();

    pid_t pid() const { return id; }
    void signal(int number) const;
    /// What it does at this moment.
    State look();
    /// \return false when it has neither stopped nor ended in time
    bool wait_until_stopped_or_ended(milliseconds at_most);
    bool wait_until_ended(milliseconds at_most);
    /// SIGKILL, and waits for the end.
    void kill();

    /// Exit status, or minus the signal that ended it.
    int result() const { return end; }
    bool was_killed() const { return end == -9; }

private:
    pid_t id = -1;
    int end = 0;
    State state = State::running;
};

}  // namespace robustness
