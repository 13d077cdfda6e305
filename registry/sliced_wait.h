// Waiting for `sem_rw` without waiting for ever for a dead holder.
#pragma once

#include "registry/region_locks.h"

#include <nuv/shm_manager.h>

#include <semaphore.h>

#include <chrono>

namespace nuv {

/// Whether a wait that starts now finds the semaphore free.
inline bool is_free(sem_t* semaphore) {
    int value = 0;
    sem_getvalue(semaphore, &value);
    return value > 0;
}
/// Looks again, for some microseconds, whether a semaphore becomes free that was not. A holder that
/// runs is done by then, and being put to sleep and woken again takes longer.
bool is_soon_free(sem_t* semaphore);

enum class Slice { acquired, too_short, failed };

constexpr std::chrono::milliseconds slice_length(250);

/// Waits until then. `failed` leaves the reason in `errno`, a signal among others.
Slice wait_one_slice(sem_t* semaphore, Deadline end);

enum class Slices { acquired, stale, late };

/// Waits in slices, whatever signals come. After a slice without success the heartbeat is looked
/// at: nobody can refresh it while a dead process holds the semaphore. \return `stale` when the
/// heartbeat has become too old; `late` when the deadline has passed
Slices wait_in_slices(CNuv_shm_manager& manager, NUV_Devlist_Shm* region, Deadline deadline);

}  // namespace nuv
