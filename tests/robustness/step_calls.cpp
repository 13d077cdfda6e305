// Compiled like tests/support/faults.cpp: it comes before the sanitizers' run time is set up.
#include "step_calls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <thread>
#include <utility>

namespace robustness {
namespace {

struct Counter {
    long at = 0;
    long count = 0;
    bool counting = false;
    std::function<void()> action;
};

thread_local Counter counter;
std::atomic<std::int64_t> wait_delay{0};  // microseconds

template <class Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void act_before_step(long n, std::function<void()> action) {
    counter.at = n;
    counter.count = 0;
    counter.action = std::move(action);
    counter.counting = true;
}

void signal_before_step(long n, int signal) {
    act_before_step(n, [signal] { syscall(SYS_kill, syscall(SYS_getpid), signal); });
}

long stop_counting_steps() {
    counter.counting = false;
    return counter.count;
}

void forget_steps() {
    counter.counting = false;
}

void delay_condition_waits(std::chrono::microseconds how_long) {
    wait_delay = how_long.count();
}

void step() {
    if (!counter.counting || ++counter.count != counter.at) {
        return;
    }
    counter.counting = false;  // the action's own calls are no steps
    counter.action();
    counter.counting = true;
}

}  // namespace robustness

#define STEP_CALL(result, name, parameters, arguments)                           \
    extern "C" result name parameters {                                          \
        robustness::step();                                                      \
        static auto* const forward = robustness::next<result parameters>(#name); \
        return forward arguments;                                                \
    }

STEP_CALL(int, shm_open, (const char* name, int flags, mode_t mode), (name, flags, mode))
STEP_CALL(int, shm_unlink, (const char* name), (name))
STEP_CALL(int, ftruncate, (int fd, off_t length) noexcept, (fd, length))
STEP_CALL(int, posix_fallocate, (int fd, off_t offset, off_t length), (fd, offset, length))
STEP_CALL(int, fstat, (int fd, struct stat* status) noexcept, (fd, status))
STEP_CALL(ssize_t, pread, (int fd, void* bytes, size_t size, off_t offset),
          (fd, bytes, size, offset))
STEP_CALL(int, sem_init, (sem_t * sem, int shared, unsigned value) noexcept, (sem, shared, value))
STEP_CALL(int, sem_wait, (sem_t * sem), (sem))
STEP_CALL(int, sem_trywait, (sem_t * sem) noexcept, (sem))
STEP_CALL(int, sem_clockwait, (sem_t * sem, clockid_t clock, const timespec* until),
          (sem, clock, until))
STEP_CALL(int, sem_post, (sem_t * sem) noexcept, (sem))
STEP_CALL(int, sem_destroy, (sem_t * sem) noexcept, (sem))
STEP_CALL(int, gettimeofday, (timeval * now, void* zone) noexcept, (now, zone))

// Clearing the lists. Small ones are everybody's.
extern "C" void* memset(void* bytes, int value, size_t size) noexcept {
    constexpr size_t smallest_list = 100;
    if (size > smallest_list) {
        robustness::step();
    }
    static auto* const forward = robustness::next<void*(void*, int, size_t)>("memset");
    return forward(bytes, value, size);
}

// Needed while libraries are still being set up, so without a search for the next one.

extern "C" void* mmap(void* address, size_t length, int protection, int flags, int fd,
                      off_t offset) noexcept {
    robustness::step();
    return reinterpret_cast<void*>(
        syscall(SYS_mmap, address, length, protection, flags, fd, offset));
}

extern "C" int munmap(void* address, size_t length) noexcept {
    robustness::step();
    return static_cast<int>(syscall(SYS_munmap, address, length));
}

extern "C" int close(int fd) {
    robustness::step();
    return static_cast<int>(syscall(SYS_close, fd));
}

extern "C" pid_t getpid() noexcept {
    robustness::step();
    return static_cast<pid_t>(syscall(SYS_getpid));
}

extern "C" int fcntl(int fd, int command, ...) {
    robustness::step();
    va_list arguments;
    va_start(arguments, command);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    static auto* const forward = robustness::next<int(int, int, ...)>("fcntl");
    return forward(fd, command, argument);
}

extern "C" int pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                      clockid_t clock, const timespec* until) {
    const std::chrono::microseconds delay(robustness::wait_delay);
    if (delay.count() > 0) {
        std::this_thread::sleep_for(delay);
    }
    static auto* const forward =
        robustness::next<int(pthread_cond_t*, pthread_mutex_t*, clockid_t, const timespec*)>(
            "pthread_cond_clockwait");
    return forward(condition, mutex, clock, until);
}
