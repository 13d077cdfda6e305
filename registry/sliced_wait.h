// Waiting for a semaphore of the region without waiting for ever for a dead holder.
#pragma once

#include "registry/region_locks.h"

#include <nuv/shm_manager.h>

#include <semaphore.h>

#include <chrono>

namespace nuv {

/// Looks again, for some microseconds, whether a semaphore becomes free that was not. A holder that
/// runs is done by then, and being put to sleep and woken again takes longer.
bool is_soon_free(sem_t* semaphore);

enum class Slice { acquired, too_short, failed };

constexpr std::chrono::milliseconds slice_length(250);

/// Waits until then. `failed` leaves the reason in `errno`, a signal among others.
Slice wait_one_slice(sem_t* semaphore, Deadline end);

/// Takes away posts that nobody waited for, as a holder leaves behind that was believed dead.
/// Whoever calls it holds the semaphore, so that every post found is one too many.
void take_surplus_posts(sem_t* semaphore);

enum class Slices { acquired, stale, late };

/// Waits for `sem_rw` in slices, whatever signals come. After a slice without success the heartbeat
/// is looked at: nobody can refresh it while a dead process holds the semaphore. \return `stale`
/// when the heartbeat has become too old; `late` when the deadline has passed
Slices wait_in_slices(CNuv_shm_manager& manager, NUV_Devlist_Shm* region, Deadline deadline);

}  // namespace nuv
