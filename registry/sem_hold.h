// A semaphore of the registry, held for as long as the object lives.
#pragma once

#include <nuv/sem_access.h>

namespace nuv {

class Sem_hold {
public:
    explicit Sem_hold(CNuv_sem_access& semaphore)
        : access(&semaphore), acquired(semaphore.wait() == 0) {}
    Sem_hold(const Sem_hold&) = delete;
    Sem_hold& operator=(const Sem_hold&) = delete;
    ~Sem_hold() { release(); }

    /// False when the system refused the wait; the operation goes on all the same, and posts
    /// nothing: another thread may hold the semaphore through the same wrapper.
    bool is_acquired() const { return acquired; }

    /// Gives the semaphore back early, where a line is to be written after the post.
    void release() {
        if (acquired && access != nullptr) {
            access->post();
        }
        access = nullptr;
    }

private:
    CNuv_sem_access* access;
    bool acquired;
};

/// Records the calling thread as the holder of a semaphore that it has just acquired.
void become_holder(CNuv_sem_access& access);

}  // namespace nuv
