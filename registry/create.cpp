// Creating the region: nobody sees its version before all of it is in place.
#include "registry/attempt.h"
#include "registry/listens.h"
#include "registry/region.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>

namespace nuv {
namespace {

constexpr int region_size = static_cast<int>(NUV_SHM_SIZE);

void give_to_group_video(Attempt& attempt) {
    CNuv_shm_manager& manager = attempt.manager;
    const char* const op = attempt.op();
    const int fd = attempt.held->fd();
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: CreateFileMapping DEFAULT_GROUP_VIDEO set group", op);
    const group* const video = getgrnam("video");
    if (video == nullptr) {
        NUV_LOG(manager, NUV_LOG_ERROR, "%s: group video not found", op);
    } else if (constexpr uid_t same_owner = static_cast<uid_t>(-1);
               fchown(fd, same_owner, video->gr_gid) == 0) {
        NUV_LOG(manager, NUV_LOG_TRACE, "%s: hMem group video %d set", op,
                static_cast<int>(video->gr_gid));
    } else {
        NUV_LOG(manager, NUV_LOG_ERROR, "%s: fchown failed %d", op, errno);
    }
    if (fchmod(fd, S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH) == 0) {
        NUV_LOG(manager, NUV_LOG_TRACE, "%s: hMem mode rwrwr set", op);
    } else {
        NUV_LOG(manager, NUV_LOG_ERROR, "%s: fchmod failed %d", op, errno);
    }
}

bool map_new(Attempt& attempt) {
    if (!attempt.held->map()) {
        attempt.log_map_failure(errno);
        attempt.unlink_name();
        return false;
    }
    NUV_LOG(attempt.manager, NUV_LOG_TRACE, "%s: mmap done %p", attempt.op(),
            static_cast<void*>(attempt.region()));
    return true;
}

/// Sets the size and reserves the pages, so that no later write meets a full file system, which
/// would be a SIGBUS. Returns an error number, or 0.
int set_size(int fd) {
    if (ftruncate(fd, static_cast<off_t>(NUV_SHM_SIZE)) != 0) {
        return errno;
    }
    int error = EINTR;
    while (error == EINTR) {
        error = posix_fallocate(fd, 0, static_cast<off_t>(NUV_SHM_SIZE));
    }
    return error;
}

bool size_new(Attempt& attempt) {
    if (const int error = set_size(attempt.held->fd()); error != 0) {
        NUV_LOG_ERROR_NUMBER(attempt.manager, NUV_LOG_TRACE, error,
                             "%s: ftruncate size %d failed %s",
                             "%s: ftruncate size %d failed errno %d", attempt.op(), region_size);
        return false;
    }
    NUV_LOG(attempt.manager, NUV_LOG_TRACE, "%s: ftruncate size %d done", attempt.op(),
            region_size);
    return true;
}

void zero_region(Attempt& attempt) {
    NUV_Devlist_Shm* const region = attempt.region();
    std::memset(static_cast<void*>(region), 0, NUV_SHM_SIZE);
    attempt.manager.proc_id = getpid();
    NUV_LOG(attempt.manager, NUV_LOG_TRACE, "%s: mmap done opencount %d devlist_shm %p",
            attempt.op(), region->opencount, static_cast<void*>(region));
    NUV_LOG(attempt.manager, NUV_LOG_TRACE, "%s: proc_id %d", attempt.op(),
            attempt.manager.proc_id);
}

std::unique_ptr<CNuv_sem_access> make_wrapper(const CNuv_shm_manager& manager, sem_t* semaphore) {
    auto wrapper = std::make_unique<CNuv_sem_access>(semaphore);
    wrapper->SetLog(manager.clog);
    wrapper->set_general_bits(relaxed_load(manager.general_bits));
    return wrapper;
}

bool init_sem_rw(Attempt& attempt) {
    CNuv_shm_manager& manager = attempt.manager;
    sem_t* const semaphore = sem_rw_of(attempt.region());
    if (sem_init(semaphore, 1, 0) != 0) {
        NUV_LOG_ERROR_NUMBER(
            manager, NUV_LOG_ERROR, errno, "%s: sem_init failed %s return NUV_ERROR_NOMEMORY",
            "%s: sem_init failed errno %d return NUV_ERROR_NOMEMORY", attempt.op());
        return false;
    }
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: sem_init/sem_open 'sem_rw' done", attempt.op());
    attempt.sema_rw = make_wrapper(manager, semaphore);
    return true;
}

bool init_sem_update(Attempt& attempt) {
    CNuv_shm_manager& manager = attempt.manager;
    sem_t* const semaphore = sem_update_of(attempt.region());
    const bool done = sem_init(semaphore, 1, 0) == 0;
    if (done) {
        NUV_LOG(manager, NUV_LOG_TRACE, "%s: sem_init/sem_open 'sem_update' done", attempt.op());
        attempt.sema_update = make_wrapper(manager, semaphore);
    } else {
        NUV_LOG_ERROR_NUMBER(manager, NUV_LOG_ERROR, errno,
                             "%s: sem_init sem_update failed %s return NUV_ERROR_NOMEMORY",
                             "%s: sem_init sem_update failed errno %d return NUV_ERROR_NOMEMORY",
                             attempt.op());
    }
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: create: sem_rw: %p, sem_update: %p", attempt.op(),
            static_cast<void*>(sem_rw_of(attempt.region())), static_cast<void*>(semaphore));
    return done;
}

/// All but the version, which says that the rest is there. The lists are zero already.
void write_contents(Attempt& attempt) {
    NUV_Devlist_Shm* const region = attempt.region();
    region->opencount = 1;
    region->id_counter = 1;
    region->processid = getpid();
    store_time_stamp(region, wall_clock_seconds());
    for (NUV_Device& entry : region->nuvdevice) {
        entry.entry_mark = NUV_ENTRY_MARK;
    }
    NUV_LOG(attempt.manager, NUV_LOG_TRACE, "%s: shm opencount %d processid %d id_counter %d",
            attempt.op(), region->opencount, region->processid, region->id_counter);
}

void post_semaphores(Attempt& attempt) {
    sem_post(sem_rw_of(attempt.region()));
    NUV_LOG(attempt.manager, NUV_LOG_TRACE, "%s: sem_post 'sem_rw' done", attempt.op());
    sem_post(sem_update_of(attempt.region()));
    NUV_LOG(attempt.manager, NUV_LOG_TRACE, "%s: sem_post 'sem_update' done", attempt.op());
}

void publish_version(NUV_Devlist_Shm* region) {
    __atomic_store_n(
        aligned_member<std::uint16_t>(region, offsetof(NUV_Devlist_Shm, struct_version)),
        NUV_SHM_VERSION, __ATOMIC_RELEASE);
}

}  // namespace

Outcome try_create(CNuv_shm_manager& manager, Deadline deadline) {
    if (manager.m_hMem >= 0) {
        return Outcome::attached;
    }
    Attempt attempt(manager, Path::create);
    if (!attempt.open(O_RDWR | O_CREAT)) {
        const int error = errno;
        // A kernel that protects regular files in folders like /dev/shm refuses O_CREAT on another
        // user's file, which may have come there since the probe.
        if (error == EACCES && Attachment::can_open()) {
            return attempt.start_over(deadline);
        }
        attempt.log_open_failure(error);
        return Outcome::failed;
    }
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: CreateFileMapping %s size %d done hMem %d", attempt.op(),
            NUV_SHM_NAME, region_size, attempt.held->fd());
    if (!attempt.gate.acquire(deadline)) {
        return attempt.give_up();
    }
    const std::optional<std::size_t> size = attempt.held->size_if_linked();
    if (!size || *size >= NUV_SHM_SIZE) {
        return attempt.start_over(deadline);
    }
    return build_region(attempt, deadline);
}

Outcome build_region(Attempt& attempt, Deadline deadline) {
    attempt.create_after_all();
    if (!share_presence(attempt.held->fd())) {
        return attempt.start_over(deadline);
    }
    if ((relaxed_load(attempt.manager.general_bits) & DEFAULT_GROUP_VIDEO) != 0) {
        give_to_group_video(attempt);
    }
    if (!map_new(attempt) || !size_new(attempt)) {
        return Outcome::failed;
    }
    zero_region(attempt);
    if (!init_sem_rw(attempt) || !init_sem_update(attempt)) {
        return Outcome::failed;
    }
    write_contents(attempt);
    post_semaphores(attempt);
    publish_version(attempt.region());
    if (!attempt.held->has_link()) {
        return attempt.start_over(deadline);
    }
    attempt.hand_over();
    return Outcome::attached;
}

}  // namespace nuv
