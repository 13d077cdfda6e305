#include "registry/sliced_wait.h"

#include "registry/heartbeat.h"
#include "registry/region.h"
#include "registry/semaphore_bytes.h"

#include <time.h>

#ifdef __SANITIZE_THREAD__
#include <sanitizer/tsan_interface.h>
#endif

#include <atomic>
#include <cerrno>

namespace nuv {
namespace {

/// Of the monotonic clock, which is the steady one's.
timespec to_timespec(Deadline moment) {
    const auto since_start = moment.time_since_epoch();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(since_start);
    const std::chrono::nanoseconds rest = since_start - seconds;
    return {static_cast<time_t>(seconds.count()), static_cast<long>(rest.count())};
}

/// A cycle or so for each turn, without touching memory.
void stay_busy(int turns) {
    for (int turn = 0; turn < turns; ++turn) {
        std::atomic_signal_fence(std::memory_order_seq_cst);  // or there would be no loop
    }
}

/// The thread sanitizer of this compiler knows `sem_wait`, but not `sem_clockwait`.
void note_acquired([[maybe_unused]] sem_t* semaphore) {
#ifdef __SANITIZE_THREAD__
    __tsan_acquire(semaphore);
#endif
}

}  // namespace

bool is_soon_free(sem_t* semaphore) {
    // Each look takes the cache line from the holder, so ever fewer are taken.
    constexpr int looks = 12;
    int pause = 8;
    for (int look = 0; look < looks; ++look) {
        stay_busy(pause);
        if (is_free(semaphore)) {
            return true;
        }
        pause *= 2;
    }
    return false;
}

Slice wait_one_slice(sem_t* semaphore, Deadline end) {
    mend_semaphore(semaphore);
    const timespec until = to_timespec(end);
    if (sem_clockwait(semaphore, CLOCK_MONOTONIC, &until) == 0) {
        note_acquired(semaphore);
        return Slice::acquired;
    }
    return errno == ETIMEDOUT ? Slice::too_short : Slice::failed;
}

void take_surplus_posts(sem_t* semaphore) {
    // Bounded, since any number may stand in a region that something else has written to.
    constexpr int most = 1000;
    for (int taken = 0; taken < most && sem_trywait(semaphore) == 0; ++taken) {
    }
}

Slices wait_in_slices(CNuv_shm_manager& manager, NUV_Devlist_Shm* region, Deadline deadline) {
    const auto next_slice = [] { return std::chrono::steady_clock::now() + slice_length; };
    while (wait_one_slice(sem_rw_of(region), next_slice()) != Slice::acquired) {
        if (looks_stale(manager, region)) {
            return Slices::stale;
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            return Slices::late;
        }
    }
    return Slices::acquired;
}

}  // namespace nuv
