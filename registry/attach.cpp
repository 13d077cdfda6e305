// Attaching to a region that exists: who gets through is counted in a whole region that has a name.
#include "registry/attempt.h"
#include "registry/heartbeat.h"
#include "registry/listens.h"
#include "registry/region.h"
#include "registry/sem_hold.h"
#include "registry/sliced_wait.h"
#include "registry/stale_clear.h"

#include <nuv/result.h>

#include <fcntl.h>

#include <cerrno>
#include <optional>
#include <thread>

namespace nuv {
namespace {

using namespace std::chrono_literals;

enum class Found { region, fragment, nothing, gate_closed };

/// A file that is too short, or of version 0, may be one that somebody without the gate is creating
/// at this moment: it gets a while to become a region.
Found look_for_region(Attempt& attempt, Deadline deadline) {
    constexpr auto patience = 200ms;
    const Deadline end_of_patience = std::chrono::steady_clock::now() + patience;
    while (const std::optional<std::size_t> size = attempt.held->size_if_linked()) {
        const bool long_enough = *size >= NUV_SHM_SIZE;
        if (long_enough && attempt.held->version() != 0) {
            return Found::region;
        }
        if (std::chrono::steady_clock::now() >= end_of_patience) {
            return long_enough ? Found::region : Found::fragment;
        }
        attempt.gate.release();
        std::this_thread::sleep_for(1ms);
        if (!attempt.gate.acquire(deadline)) {
            return Found::gate_closed;
        }
    }
    return Found::nothing;
}

bool map_existing(Attempt& attempt) {
    if (!attempt.held->map()) {
        attempt.log_map_failure(errno);
        return false;
    }
    NUV_LOG(attempt.manager, NUV_LOG_TRACE, "%s: mmap done %p", attempt.op(),
            static_cast<void*>(attempt.region()));
    return true;
}

bool has_our_version(Attempt& attempt) {
    const std::uint16_t version = __atomic_load_n(
        aligned_member<std::uint16_t>(attempt.region(), offsetof(NUV_Devlist_Shm, struct_version)),
        __ATOMIC_ACQUIRE);
    if (version != NUV_SHM_VERSION) {
        NUV_LOG(attempt.manager, NUV_LOG_ERROR, "%s: wrong struct_version %d != %d", attempt.op(),
                version, NUV_SHM_VERSION);
        return false;
    }
    return true;
}

/// Given the log but not the general bits: the wrappers of an attaching manager stay silent.
void make_wrappers(Attempt& attempt) {
    attempt.sema_rw = std::make_unique<CNuv_sem_access>(sem_rw_of(attempt.region()));
    attempt.sema_rw->SetLog(attempt.manager.clog);
    attempt.sema_update = std::make_unique<CNuv_sem_access>(sem_update_of(attempt.region()));
    attempt.sema_update->SetLog(attempt.manager.clog);
}

bool clear_if_stale(Attempt& attempt) {
    const bool stale = is_stale(attempt.manager, attempt.region(), wall_clock_seconds());
    if (stale) {
        clear_stale_registry(attempt.manager, attempt.region(), attempt.op());
    }
    return stale;
}

/// With the gate held. Turns back to shared presence in one step.
bool is_alone(const Attempt& attempt) {
    const int fd = attempt.held->fd();
    return claim_presence(fd) && share_presence(fd);
}

/// Acquires `sem_rw`. A dead holder is found by the heartbeat that nobody can refresh any more; the
/// registry is then cleared, which frees the semaphore. A heartbeat may also be old with everybody
/// alive: where others are attached, the holder gets time for its work.
bool acquire_sem_rw(Attempt& attempt, Deadline deadline, bool& cleared) {
    constexpr std::chrono::seconds longest_work(3);
    const Deadline end_of_work = std::chrono::steady_clock::now() + longest_work;
    for (;;) {
        const Slices end = wait_in_slices(attempt.manager, attempt.region(), deadline);
        if (end == Slices::acquired) {
            return true;
        }
        if (end == Slices::late || !attempt.gate.acquire(deadline)) {
            return false;
        }
        if (std::chrono::steady_clock::now() > end_of_work || is_alone(attempt)) {
            cleared = clear_if_stale(attempt) || cleared;
        }
        attempt.gate.release();
    }
}

void add_to_count(NUV_Devlist_Shm* region) {
    region->opencount = static_cast<std::int16_t>(region->opencount + 1);
}

/// Counts this manager in. The fresh heartbeat is stored here and not before, so that a row of
/// attempts that never get this far leaves a dead registry looking dead.
void count_in(Attempt& attempt) {
    NUV_Devlist_Shm* const region = attempt.region();
    NUV_LOG(attempt.manager, NUV_LOG_TRACE, "%s: sem_wait 'sem_rw' done", attempt.op());
    add_to_count(region);
    NUV_LOG(attempt.manager, NUV_LOG_TRACE, "%s: shm->opencount %d processid %d", attempt.op(),
            region->opencount, region->processid);
    store_time_stamp(region, wall_clock_seconds());
    take_surplus_posts(sem_rw_of(region));
    sem_post(sem_rw_of(region));
    NUV_LOG(attempt.manager, NUV_LOG_TRACE, "%s: sem_post 'sem_rw' done", attempt.op());
}

/// One acquire and release through the wrapper: whoever attaches has seen that it works.
void try_wrapper(Attempt& attempt, Deadline deadline, bool& cleared) {
    bool cleared_here = false;
    const bool acquired = acquire_sem_rw(attempt, deadline, cleared_here);
    cleared = cleared || cleared_here;
    if (acquired) {
        if (cleared_here) {
            add_to_count(attempt.region());  // the clear has undone the first time
        }
        become_holder(*attempt.sema_rw);
        attempt.sema_rw->post();
    }
}

Outcome join_region(Attempt& attempt, Deadline deadline) {
    if (!share_presence(attempt.held->fd())) {
        return attempt.start_over(deadline);
    }
    if (!map_existing(attempt) || !has_our_version(attempt)) {
        return attempt.discard();
    }
    make_wrappers(attempt);
    bool cleared = clear_if_stale(attempt);
    attempt.region()->processid = attempt.held->process_id();
    attempt.gate.release();
    if (!acquire_sem_rw(attempt, deadline, cleared)) {
        return attempt.give_up();
    }
    if (!attempt.held->has_link()) {
        sem_post(sem_rw_of(attempt.region()));
        return attempt.start_over(deadline);
    }
    count_in(attempt);
    try_wrapper(attempt, deadline, cleared);
    if (cleared) {
        NUV_LOG(attempt.manager, NUV_LOG_TRACE, "%s: difftime_timeout return 0x%x", attempt.op(),
                NUV_DIFFTIME_OUT);
    }
    attempt.hand_over();
    return cleared ? Outcome::attached_after_clear : Outcome::attached;
}

}  // namespace

Outcome try_attach(CNuv_shm_manager& manager, Deadline deadline, When_absent when_absent) {
    if (manager.m_hMem >= 0) {
        return Outcome::attached;
    }
    Attempt attempt(manager, Path::attach);
    if (!attempt.open(O_RDWR)) {
        const int error = errno;
        if (error == ENOENT && when_absent == When_absent::start_over) {
            return attempt.start_over(deadline);
        }
        attempt.log_open_failure(error);
        return Outcome::failed;
    }
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: OpenFileMapping %s size %d done hMem %d", attempt.op(),
            NUV_SHM_NAME, static_cast<int>(NUV_SHM_SIZE), attempt.held->fd());
    if (!attempt.gate.acquire(deadline)) {
        return attempt.give_up();
    }
    switch (look_for_region(attempt, deadline)) {
        case Found::region:
            return join_region(attempt, deadline);
        case Found::fragment:
            return build_region(attempt, deadline);
        case Found::nothing:
            return attempt.start_over(deadline);
        case Found::gate_closed:
            break;
    }
    return attempt.give_up();
}

}  // namespace nuv
