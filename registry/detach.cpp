// Detaching: counting out, and removing the region when nobody is left.
#include "registry/attachment.h"
#include "registry/listens.h"
#include "registry/region.h"
#include "registry/region_locks.h"
#include "registry/sem_hold.h"
#include "registry/sliced_wait.h"
#include "registry/time_limits.h"

#include <pthread.h>
#include <sys/mman.h>

namespace nuv {
namespace {

/// Gives a semaphore back that the calling thread still holds through a wrapper which is about to
/// go: nobody else could.
void give_back(CNuv_sem_access* access) {
    const auto me = static_cast<std::uint64_t>(pthread_self());
    while (access != nullptr && relaxed_load(access->wait_called) > 0 &&
           relaxed_load(access->t_id) == me) {
        access->post();
    }
}

/// False when the registry is stale, and `sem_rw` not to be had for longer than a living holder
/// keeps it.
bool acquire_sem_rw(CNuv_shm_manager& manager, Deadline deadline) {
    constexpr std::chrono::seconds patience(4);
    const Deadline end_of_patience = std::chrono::steady_clock::now() + patience;
    Slices end = Slices::stale;
    while (end == Slices::stale && std::chrono::steady_clock::now() < end_of_patience) {
        end = wait_in_slices(manager, manager.devlist_shm, deadline);
    }
    return end == Slices::acquired;
}

/// The count is what a neighbour without the locks goes by, so everybody keeps it right. Not in a
/// registry that has gone stale, though: whoever clears it counts anew.
void count_out(CNuv_shm_manager& manager, const char* op, Deadline deadline) {
    NUV_Devlist_Shm* const region = manager.devlist_shm;
    if (!acquire_sem_rw(manager, deadline)) {
        return;
    }
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: sem_wait 'sem_rw' done", op);
    if (region->opencount > 0) {
        region->opencount = static_cast<std::int16_t>(region->opencount - 1);
    }
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: shm->opencount %d processid %d", op, region->opencount,
            region->processid);
    sem_post(sem_rw_of(region));
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: sem_post 'sem_rw' done", op);
}

/// With the gate held: nobody is counted, nobody else is attached, and the region has a name.
bool is_last(const Attachment& attachment) {
    return attachment.region()->opencount == 0 && claim_presence(attachment.fd()) &&
           attachment.has_link();
}

void leave(CNuv_shm_manager& manager, Attachment& attachment, Locks locks, const char* op) {
    attachment.unmap();
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: munmap done", op);
    attachment.close(locks);
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: close m_hMem done", op);
}

void remove_region(CNuv_shm_manager& manager, Attachment& attachment, const char* op) {
    sem_destroy(sem_rw_of(attachment.region()));
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: sem_destroy 'sem_rw' done", op);
    sem_destroy(sem_update_of(attachment.region()));
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: sem_destroy 'sem_update' done", op);
    // The name goes while the gate is held; the log has it last.
    shm_unlink(NUV_SHM_NAME);
    leave(manager, attachment, Locks::own, op);
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: shm_unlink done", op);
}

}  // namespace
}  // namespace nuv

unsigned int CNuv_shm_manager::close_shm() {
    static constexpr char op[] = "close_shm";
    const bool ours = attachment != nullptr && attachment->belongs_to_this_process();
    if (ours) {
        nuv::give_back(sema_update.get());
        nuv::give_back(sema_rw.get());
    }
    sema_update.reset();
    sema_rw.reset();
    if (devlist_shm == nullptr || attachment == nullptr) {
        return 0;
    }
    if (!ours) {
        nuv::leave(*this, *attachment, nuv::Locks::of_another_process, op);
    } else {
        const nuv::Deadline deadline = nuv::deadline_for(*this);
        nuv::count_out(*this, op, deadline);
        nuv::Gate gate(m_hMem);
        const bool is_last = gate.acquire(deadline) && nuv::is_last(*attachment);
        gate.forget();
        if (is_last) {
            nuv::remove_region(*this, *attachment, op);
        } else {
            nuv::leave(*this, *attachment, nuv::Locks::own, op);
        }
    }
    attachment.reset();
    m_hMem = -1;
    devlist_shm = nullptr;
    return 0;
}
