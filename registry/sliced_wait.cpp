#include "registry/sliced_wait.h"

#include "registry/heartbeat.h"
#include "registry/region.h"
#include "registry/semaphore_bytes.h"

#include <time.h>

#ifdef __SANITIZE_THREAD__
#include <sanitizer/tsan_interface.h>
#endif

#include <cerrno>

namespace nuv {
namespace {

timespec monotonic_after_one_slice() {
    constexpr long slice = 250'000'000;
    constexpr long second = 1'000'000'000;
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_nsec += slice;
    if (end.tv_nsec >= second) {
        end.tv_nsec -= second;
        ++end.tv_sec;
    }
    return end;
}

/// The thread sanitizer of this compiler knows `sem_wait`, but not `sem_clockwait`.
void note_acquired([[maybe_unused]] sem_t* semaphore) {
#ifdef __SANITIZE_THREAD__
    __tsan_acquire(semaphore);
#endif
}

}  // namespace

bool is_free(sem_t* semaphore) {
    int value = 0;
    sem_getvalue(semaphore, &value);
    return value > 0;
}

Slice wait_one_slice(sem_t* semaphore) {
    mend_semaphore(semaphore);
    const timespec end = monotonic_after_one_slice();
    if (sem_clockwait(semaphore, CLOCK_MONOTONIC, &end) == 0) {
        note_acquired(semaphore);
        return Slice::acquired;
    }
    return errno == ETIMEDOUT ? Slice::too_short : Slice::failed;
}

Slices wait_in_slices(CNuv_shm_manager& manager, NUV_Devlist_Shm* region, Deadline deadline) {
    while (wait_one_slice(sem_rw_of(region)) != Slice::acquired) {
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
