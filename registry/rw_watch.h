// Getting `sem_rw` back when its holder has died.
//
// Nobody can refresh the heartbeat while it is lost. So who waits for it and sees the heartbeat go
// stale does what a newcomer would do to free it, inside the gate, but leaves the list alone: the
// cameras are still there.
#pragma once

#include "registry/semaphore_guard.h"

#include <nuv/shm_manager.h>

namespace nuv {

class Rw_watch : public Semaphore_guard {
public:
    explicit Rw_watch(CNuv_shm_manager& of_manager) : manager(of_manager) {}

    int wait(sem_t* semaphore, Patience* patience) override;
    void posted() override {}

private:
    bool free_if_lost();

    CNuv_shm_manager& manager;
};

}  // namespace nuv
