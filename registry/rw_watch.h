// Getting `sem_rw` back when its holder has died.
//
// Nobody can refresh the heartbeat while it is lost. So who has waited for it for longer than the
// tolerance, and sees a stale heartbeat, does what a newcomer would do to free it, inside the gate,
// but leaves the list alone: the cameras are still there.
#pragma once

#include "registry/semaphore_guard.h"

#include <nuv/shm_manager.h>

#include <mutex>

namespace nuv {

class Rw_watch : public Semaphore_guard {
public:
    explicit Rw_watch(CNuv_shm_manager& of_manager)
        : Semaphore_guard(Sees::waits_for_others), manager(of_manager) {}

    int wait(sem_t* semaphore, Waiting& waiting) override;

private:
    bool free_if_lost();

    CNuv_shm_manager& manager;
    /// The gate is the descriptor's: it does not keep the threads of one manager apart.
    std::mutex freeing;
};

}  // namespace nuv
