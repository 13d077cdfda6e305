// Getting `sem_update` back when its holder has died.
//
// Whoever waits for it or holds it through a manager's wrapper has the region's update byte locked,
// from before the wait until after the post; the kernel drops the lock when the process dies. So
// who has the byte and still finds the semaphore taken knows that no living holder has the byte:
// the holder is dead, or is a neighbour that knows nothing of such locks. docs/robustness.md argues
// why a living holder is never robbed.
#pragma once

#include "registry/semaphore_guard.h"

#include <atomic>

namespace nuv {

/// One for each attachment. The lock belongs to the descriptor, not to a thread: the threads of one
/// manager take turns by a flag.
class Update_lock : public Semaphore_guard {
public:
    explicit Update_lock(int region_fd) : Semaphore_guard(Sees::every_wait), fd(region_fd) {}

    int wait(sem_t* semaphore, Waiting& waiting) override;
    void posted() override;

private:
    bool take(Waiting& waiting);
    bool try_take(Waiting& waiting);
    int outwait_holder(sem_t* semaphore, Waiting& waiting);

    const int fd;
    bool holders_are_known = false;  ///< written by whoever has `taken`
    std::atomic<bool> taken{false};
};

}  // namespace nuv
