// Makes system calls of the library fail, counts them, and puts delays or deaths in front of them.
//
// The test program defines these calls itself, and so comes before the system's in every library
// that is loaded; what is not to fail goes on to the system. The library is built as it is shipped.
#pragma once

#include <dlfcn.h>

namespace nuv_test {

enum class Call {
    shm_open,
    mmap,
    ftruncate,
    posix_fallocate,
    fchown,
    fchmod,
    fcntl,
    getgrnam,
    sem_init,
    sem_wait,
    sem_clockwait,
    sem_post,
    pthread_create,
    COUNT
};

/// The definition that one of the test program hides.
template <typename Function>
Function* hidden(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// Run before each call of any of these, for as long as the process lives; set once.
void before_every_call(void (*hook)());

/// The calling thread's next `new`, in whatever library, throws std::bad_alloc.
void fail_next_new();

/// Faults for as long as this object lives; one at a time. Any thread's calls count, made by
/// whatever library.
class Faults {
public:
    Faults();
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;
    ~Faults();

    /// The n-th call from now (1: the next) fails with `error`. One fault for each call at a time.
    void fail_nth(Call call, int n, int error);
    void fail_always(Call call, int error);
    /// Run before each such call, with its number (1: the first).
    void before(Call call, void (*hook)(int number));
};

}  // namespace nuv_test
