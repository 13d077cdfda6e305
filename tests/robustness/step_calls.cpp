// Compiled like tests/support/faults.cpp: it comes before the sanitizers' run time is set up.
#include "step_calls.h"

#include "support/faults.h"
#include "support/stand_in_log.h"

#include <pthread.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <thread>
#include <utility>

namespace robustness {
namespace {

struct Counter {
    long at = 0;
    long count = 0;
    bool counting = false;
    std::string from_line;
    std::function<void()> action;
};

thread_local Counter counter;
std::function<void(const std::string&)> line_seen;
std::atomic<std::chrono::microseconds> wait_delay{};

void step() {
    if (!counter.counting || ++counter.count != counter.at) {
        return;
    }
    counter.counting = false;  // the action's own calls are no steps
    counter.action();
    counter.counting = true;
}

void note_line(const nuv_test::Log_line& line) {
    step();
    if (!counter.from_line.empty() && line.text.find(counter.from_line) != std::string::npos) {
        counter.from_line.clear();
        counter.counting = true;
    }
    if (line_seen) {
        line_seen(line.text);
    }
}

[[maybe_unused]] const bool counts_all = [] {
    nuv_test::before_every_call(step);
    nuv_test::on_log_line(note_line);
    return pthread_atfork(nullptr, nullptr, [] { counter.counting = false; }) == 0;
}();

void be_late() {
    if (const std::chrono::microseconds delay = wait_delay; delay.count() > 0) {
        std::this_thread::sleep_for(delay);
    }
}

/// Clearing the lists. Small ones are everybody's.
void step_if_list(size_t size) {
    constexpr size_t smallest_list = 100;
    if (size > smallest_list) {
        step();
    }
}

}  // namespace

void act_before_step(long n, std::function<void()> action, std::string from_line) {
    const bool from_now_on = from_line.empty();
    counter = {n, 0, from_now_on, std::move(from_line), std::move(action)};
}

long stop_counting_steps() {
    counter.counting = false;
    return counter.count;
}

void watch_lines(std::function<void(const std::string&)> seen) {
    line_seen = std::move(seen);
}

void delay_condition_waits(std::chrono::microseconds how_long) {
    wait_delay = how_long;
}

}  // namespace robustness

using nuv_test::hidden;
using robustness::be_late;
using robustness::step;
using robustness::step_if_list;

// Those that tests/support/faults.cpp has not. The first argument is what comes before the call.
#define CALL(before, result, name, parameters, arguments)              \
    extern "C" result name parameters {                                \
        before;                                                        \
        static auto* const forward = hidden<result parameters>(#name); \
        return forward arguments;                                      \
    }

CALL(step(), int, shm_unlink, (const char* name), (name))
CALL(step(), int, fstat, (int fd, struct stat* status) noexcept, (fd, status))
CALL(step(), ssize_t, pread, (int fd, void* bytes, size_t size, off_t offset),
     (fd, bytes, size, offset))
CALL(step(), int, sem_trywait, (sem_t * sem) noexcept, (sem))
CALL(step(), int, sem_destroy, (sem_t * sem) noexcept, (sem))
CALL(step(), int, gettimeofday, (timeval * now, void* zone) noexcept, (now, zone))
CALL(step(), int, munmap, (void* address, size_t length) noexcept, (address, length))
CALL(step(), int, close, (int fd), (fd))
CALL(step(), pid_t, getpid, () noexcept, ())
CALL(step_if_list(size), void*, memset, (void* bytes, int value, size_t size) noexcept,
     (bytes, value, size))
CALL(be_late(), int, pthread_cond_clockwait,
     (pthread_cond_t * condition, pthread_mutex_t* mutex, clockid_t clock, const timespec* until),
     (condition, mutex, clock, until))
