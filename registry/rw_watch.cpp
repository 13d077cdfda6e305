#include "registry/rw_watch.h"

#include "registry/heartbeat.h"
#include "registry/listens.h"
#include "registry/region.h"
#include "registry/region_locks.h"
#include "registry/sem_hold.h"
#include "registry/sliced_wait.h"

#include <cerrno>

namespace nuv {

int Rw_watch::wait(sem_t* semaphore, Patience* patience) {
    if (is_free(semaphore)) {
        return sem_wait(semaphore);
    }
    const auto start = std::chrono::steady_clock::now();
    while (!wait_one_slice(semaphore)) {
        const auto waited = std::chrono::steady_clock::now() - start;
        if (patience != nullptr &&
            !patience->go_on(std::chrono::duration_cast<std::chrono::milliseconds>(waited))) {
            errno = ETIMEDOUT;
            return -1;
        }
        if (looks_stale(manager, manager.devlist_shm) && free_if_lost() && patience != nullptr) {
            patience->freed_from_dead_holder();
        }
    }
    return 0;
}

/// The heartbeat is stored before the post, and tested again inside the gate: of many that wait,
/// one posts.
bool Rw_watch::free_if_lost() {
    constexpr char op[] = "wait";
    constexpr std::chrono::seconds patience(1);
    NUV_Devlist_Shm* const region = manager.devlist_shm;
    Gate gate(manager.m_hMem);
    if (!gate.acquire(std::chrono::steady_clock::now() + patience) ||
        !looks_stale(manager, region)) {
        return false;
    }
    NUV_LOG(manager, NUV_LOG_ERROR, "%s: sem_rw was held for too long and is freed", op);
    take_surplus_posts(sem_rw_of(region));
    store_time_stamp(region, wall_clock_seconds());
    sem_post(sem_rw_of(region));
    return true;
}

}  // namespace nuv
