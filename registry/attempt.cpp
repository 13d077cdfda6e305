#include "registry/attempt.h"

#include "registry/listens.h"

#include <sys/mman.h>

#include <cerrno>
#include <utility>

namespace nuv {

Attempt::Attempt(CNuv_shm_manager& for_manager, Path first_path)
    : manager(for_manager),
      held(std::make_unique<Attachment>()),
      path(first_path),
      keep_name(first_path == Path::attach) {}

Attempt::~Attempt() {
    if (held != nullptr) {
        release();
    }
}

bool Attempt::open(int flags) {
    const bool opened = held->open(flags);
    gate.set_descriptor(held->fd());
    return opened;
}

Outcome Attempt::discard() {
    keep_name = false;
    return Outcome::failed;
}

Outcome Attempt::start_over(Deadline deadline) {
    if (std::chrono::steady_clock::now() >= deadline) {
        return give_up();
    }
    keep_name = true;
    return Outcome::start_over;
}

Outcome Attempt::give_up() {
    keep_name = true;
    log_open_failure(ETIMEDOUT);
    return Outcome::failed;
}

void Attempt::log_open_failure(int error) {
    if (path == Path::create) {
        NUV_LOG_ERROR_NUMBER(manager, NUV_LOG_ERROR, error,
                             "%s: CreateFileMapping %s failed %s return NUV_ERROR_NOMEMORY",
                             "%s: CreateFileMapping %s failed errno %d return NUV_ERROR_NOMEMORY",
                             op(), NUV_SHM_NAME);
    } else {
        NUV_LOG_ERROR_NUMBER(manager, NUV_LOG_ERROR, error,
                             "%s: OpenFileMapping %s failed %s return NUV_ERROR_NOMEMORY",
                             "%s: OpenFileMapping %s failed errno %d return NUV_ERROR_NOMEMORY",
                             op(), NUV_SHM_NAME);
    }
}

void Attempt::log_map_failure(int error) {
    NUV_LOG_ERROR_NUMBER(manager, NUV_LOG_ERROR, error,
                         "%s: mmap failed %s return NUV_ERROR_NOMEMORY",
                         "%s: mmap failed errno %d return NUV_ERROR_NOMEMORY", op());
}

void Attempt::unlink_name() {
    if (gate.is_held() && held->has_link()) {
        shm_unlink(NUV_SHM_NAME);
        name_unlinked = true;
    }
}

void Attempt::release() {
    sema_update.reset();
    sema_rw.reset();
    if (held->region() != nullptr) {
        held->unmap();
        NUV_LOG(manager, NUV_LOG_TRACE, "%s: munmap done", op());
    }
    if (held->fd() < 0) {
        return;
    }
    // Closing drops the gate, so the name goes first; the log has the two the other way round.
    if (!keep_name) {
        unlink_name();
    }
    gate.forget();
    held->close(Locks::own);
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: close hdlMem done", op());
    if (name_unlinked) {
        NUV_LOG(manager, NUV_LOG_TRACE, "%s: shm_unlink done", op());
    }
}

void Attempt::hand_over() {
    gate.release();
    manager.sema_rw = std::move(sema_rw);
    manager.sema_update = std::move(sema_update);
    held->set_manager(manager);
    manager.attachment = std::move(held);
}

}  // namespace nuv
