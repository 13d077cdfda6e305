// Compiled without sanitizers: the first of these calls come before their run time is set up.
#include "support/faults.h"

#include <dlfcn.h>
#include <fcntl.h>
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

namespace nuv_test {
namespace {

constexpr int NEVER = 0;
constexpr int ALWAYS = -1;

struct Call_state {
    std::atomic<int> count{0};
    std::atomic<int> fails_at{NEVER};
    std::atomic<int> error{0};
    std::atomic<void (*)(int)> hook{nullptr};
    std::atomic<void*> next{nullptr};
};

Call_state states[static_cast<int>(Call::COUNT)];

Call_state& state_of(Call call) {
    return states[static_cast<int>(call)];
}

/// Counts the call. Sets errno when it is to fail.
bool fails(Call call) {
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

template <typename Function>
Function* next(Call call, const char* name) {
    Call_state& state = state_of(call);
    void* found = state.next;
    if (found == nullptr) {
        found = dlsym(RTLD_NEXT, name);
        state.next = found;
    }
    return reinterpret_cast<Function*>(found);
}

// mmap is called while libraries are still being set up, when a search for the next one may not
// work yet.
__attribute__((constructor)) void find_mmap() {
    next<decltype(mmap)>(Call::mmap, "mmap");
    next<decltype(munmap)>(Call::munmap, "munmap");
}

}  // namespace

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

int Faults::calls(Call call) const {
    return state_of(call).count;
}

void Faults::restart_count(Call call) {
    state_of(call).count = 0;
}

void Faults::before(Call call, void (*hook)(int)) {
    state_of(call).hook = hook;
}

}  // namespace nuv_test

using nuv_test::Call;
using nuv_test::fails;
using nuv_test::next;

// A call that answers -1 and errno when it fails.
#define FORWARD(name, parameters, arguments)                                               \
    extern "C" int name parameters {                                                       \
        return fails(Call::name) ? -1 : next<int parameters>(Call::name, #name) arguments; \
    }

FORWARD(shm_open, (const char* name, int flags, mode_t mode), (name, flags, mode))
FORWARD(shm_unlink, (const char* name), (name))
FORWARD(ftruncate, (int fd, off_t length) noexcept, (fd, length))
FORWARD(fchown, (int fd, uid_t owner, gid_t group) noexcept, (fd, owner, group))
FORWARD(fchmod, (int fd, mode_t mode) noexcept, (fd, mode))
FORWARD(sem_init, (sem_t * sem, int shared, unsigned value) noexcept, (sem, shared, value))
FORWARD(sem_wait, (sem_t * sem), (sem))
FORWARD(sem_trywait, (sem_t * sem) noexcept, (sem))
FORWARD(sem_timedwait, (sem_t * sem, const timespec* until), (sem, until))
FORWARD(sem_clockwait, (sem_t * sem, clockid_t clock, const timespec* until), (sem, clock, until))
FORWARD(sem_post, (sem_t * sem) noexcept, (sem))
FORWARD(sem_destroy, (sem_t * sem) noexcept, (sem))

// The others have their own ways to fail.

extern "C" void* mmap(void* address, size_t length, int protection, int flags, int fd,
                      off_t offset) noexcept {
    if (fails(Call::mmap)) {
        return MAP_FAILED;
    }
    if (nuv_test::state_of(Call::mmap).next == nullptr) {
        return reinterpret_cast<void*>(
            syscall(SYS_mmap, address, length, protection, flags, fd, offset));
    }
    return next<decltype(mmap)>(Call::mmap, "mmap")(address, length, protection, flags, fd, offset);
}

extern "C" int munmap(void* address, size_t length) noexcept {
    if (fails(Call::munmap)) {
        return -1;
    }
    if (nuv_test::state_of(Call::munmap).next == nullptr) {
        return static_cast<int>(syscall(SYS_munmap, address, length));
    }
    return next<decltype(munmap)>(Call::munmap, "munmap")(address, length);
}

extern "C" int posix_fallocate(int fd, off_t offset, off_t length) {
    return fails(Call::posix_fallocate)
               ? errno
               : next<decltype(posix_fallocate)>(Call::posix_fallocate, "posix_fallocate")(
                     fd, offset, length);
}

extern "C" int fcntl(int fd, int command, ...) {
    va_list arguments;
    va_start(arguments, command);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    return fails(Call::fcntl) ? -1
                              : next<decltype(fcntl)>(Call::fcntl, "fcntl")(fd, command, argument);
}

extern "C" group* getgrnam(const char* name) {
    return fails(Call::getgrnam) ? nullptr
                                 : next<decltype(getgrnam)>(Call::getgrnam, "getgrnam")(name);
}

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*body)(void*), void* argument) noexcept {
    return fails(Call::pthread_create)
               ? errno
               : next<decltype(pthread_create)>(Call::pthread_create, "pthread_create")(
                     thread, attributes, body, argument);
}
