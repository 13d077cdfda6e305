// Compiled without sanitizers: the first of these calls come before their run time is set up.
#include "support/faults.h"

#include <grp.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <new>

namespace nuv_test {
namespace {

constexpr int NEVER = 0;
constexpr int ALWAYS = -1;

struct Call_state {
    std::atomic<int> count{0};
    std::atomic<int> fails_at{NEVER};
    std::atomic<int> error{0};
    std::atomic<void (*)(int)> hook{nullptr};
};

thread_local bool next_new_fails = false;
std::atomic<void (*)()> every_call{nullptr};
Call_state states[static_cast<int>(Call::COUNT)];

Call_state& state_of(Call call) {
    return states[static_cast<int>(call)];
}

/// Counts the call. Sets errno when it is to fail.
bool fails(Call call) {
    if (void (*hook)() = every_call) {
        hook();
    }
    Call_state& state = state_of(call);
    const int number = ++state.count;
    if (void (*hook)(int) = state.hook) {
        hook(number);
    }
    const int fails_at = state.fails_at;
    if (fails_at != ALWAYS && fails_at != number) {
        return false;
    }
    errno = state.error;
    return true;
}

}  // namespace

void before_every_call(void (*hook)()) {
    every_call = hook;
}

void fail_next_new() {
    next_new_fails = true;
}

Faults::Faults() {
    for (Call_state& state : states) {
        state.count = 0;
    }
}

Faults::~Faults() {
    for (Call_state& state : states) {
        state.fails_at = NEVER;
        state.hook = nullptr;
    }
}

void Faults::fail_nth(Call call, int n, int error) {
    state_of(call).error = error;
    state_of(call).fails_at = state_of(call).count + n;
}

void Faults::fail_always(Call call, int error) {
    state_of(call).error = error;
    state_of(call).fails_at = ALWAYS;
}

void Faults::before(Call call, void (*hook)(int)) {
    state_of(call).hook = hook;
}

}  // namespace nuv_test

using nuv_test::Call;
using nuv_test::fails;
using nuv_test::hidden;

// A call, its parameters and arguments, and what it answers when it fails; errno is set then.
#define FORWARD(result, name, parameters, arguments, failure)          \
    extern "C" result name parameters {                                \
        static auto* const forward = hidden<result parameters>(#name); \
        return fails(Call::name) ? (failure) : forward arguments;      \
    }

FORWARD(int, shm_open, (const char* name, int flags, mode_t mode), (name, flags, mode), -1)
FORWARD(int, ftruncate, (int fd, off_t length) noexcept, (fd, length), -1)
FORWARD(int, posix_fallocate, (int fd, off_t from, off_t length), (fd, from, length), errno)
FORWARD(int, fchown, (int fd, uid_t owner, gid_t group) noexcept, (fd, owner, group), -1)
FORWARD(int, fchmod, (int fd, mode_t mode) noexcept, (fd, mode), -1)
FORWARD(group*, getgrnam, (const char* name), (name), nullptr)
FORWARD(int, sem_init, (sem_t * sem, int shared, unsigned value) noexcept, (sem, shared, value), -1)
FORWARD(int, sem_wait, (sem_t * sem), (sem), -1)
FORWARD(int, sem_clockwait, (sem_t * sem, clockid_t clock, const timespec* until),
        (sem, clock, until), -1)
FORWARD(int, sem_post, (sem_t * sem) noexcept, (sem), -1)
FORWARD(int, pthread_create,
        (pthread_t * thread, const pthread_attr_t* attributes, void* (*body)(void*),
         void* argument) noexcept,
        (thread, attributes, body, argument), errno)

extern "C" int fcntl(int fd, int command, ...) {
    va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    static auto* const forward = hidden<int(int, int, ...)>("fcntl");
    return fails(Call::fcntl) ? -1 : forward(fd, command, argument);
}

// Called while libraries are still being set up, when a search for the next one may not work yet.
extern "C" void* mmap(void* address, size_t length, int protection, int flags, int fd,
                      off_t offset) noexcept {
    return fails(Call::mmap) ? MAP_FAILED
                             : reinterpret_cast<void*>(syscall(SYS_mmap, address, length,
                                                               protection, flags, fd, offset));
}

void* operator new(std::size_t size) {
    void* const memory = nuv_test::next_new_fails ? nullptr : std::malloc(size);
    nuv_test::next_new_fails = false;
    return memory != nullptr ? memory : throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
