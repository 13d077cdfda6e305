#include "registry/rw_watch.h"

#include "registry/heartbeat.h"
#include "registry/listens.h"
#include "registry/region.h"
#include "registry/region_locks.h"
#include "registry/sliced_wait.h"

#include <cerrno>

namespace nuv {

int Rw_watch::wait(sem_t* semaphore, Waiting& waiting) {
    waiting.begin();
    const std::chrono::seconds tolerance(manager.m_difftime);
    for (;; waiting.begin_next_slice()) {
        const Slice end = wait_one_slice(semaphore, waiting.end_of_slice());
        if (end != Slice::too_short) {
            return end == Slice::acquired ? 0 : -1;
        }
        if (!waiting.go_on()) {
            errno = ETIMEDOUT;
            return -1;
        }
        // A heartbeat may be old with everybody alive: the holder's time counts as well.
        if (waiting.waited() > tolerance && free_if_lost()) {
            waiting.freed_from_dead_holder();
        }
    }
}

/// The heartbeat is tested inside the gate and stored before the post: of many that wait, one
/// posts. A holder that is a thread of this manager lives.
bool Rw_watch::free_if_lost() {
    static constexpr char op[] = "wait";
    constexpr std::chrono::seconds patience(1);
    if (relaxed_load(manager.sema_rw->wait_called) != 0) {
        return false;
    }
    NUV_Devlist_Shm* const region = manager.devlist_shm;
    const std::lock_guard<std::mutex> one_thread(freeing);
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
