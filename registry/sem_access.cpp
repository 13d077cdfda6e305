#include "registry/listens.h"
#include "registry/sem_hold.h"
#include "registry/semaphore_bytes.h"
#include "registry/semaphore_guard.h"
#include "registry/sliced_wait.h"

#include <nuv/bits.h>
#include <nuv/sem_access.h>

#include <nuvkit/log.h>

#include <pthread.h>

#include <cerrno>
#include <chrono>
#include <thread>

namespace {

std::uint64_t this_thread() {
    return static_cast<std::uint64_t>(pthread_self());
}

/// Any thread may read the two words; only the holder finds its own id in them.
bool holds(const CNuv_sem_access& access, std::uint64_t thread) {
    return nuv::relaxed_load(access.wait_called) != 0 && nuv::relaxed_load(access.t_id) == thread;
}

/// \return the nesting depth
int record_holder(CNuv_sem_access& access, std::uint64_t thread) {
    nuv::relaxed_store(access.t_id, thread);
    const std::int32_t depth = nuv::relaxed_load(access.wait_called) + 1;
    nuv::relaxed_store(access.wait_called, depth);
    return depth;
}

constexpr char op_wait[] = "wait";

void log_failed_wait(CNuv_sem_access& access, int error) {
    if (const char* const text = nuv::error_text(error)) {
        access.writelog(NUV_LOG_TRACE, "%s: sem_wait returned %d ernno %d %s", op_wait, -1, error,
                        text);
    } else {
        access.writelog(NUV_LOG_TRACE, "%s: sem_wait returned %d ernno %d", op_wait, -1, error);
    }
}

/// Sees to a wait that the system has ended. \return whether it is to be tried again
[[gnu::cold]] bool outlast_failure(CNuv_sem_access& access) {
    const int error = errno;
    if (nuv::listens(access)) {
        log_failed_wait(access, error);
    }
    if (error != EINTR) {
        return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return true;
}

bool sees_every_wait(const nuv::Semaphore_guard& guard) {
    return guard.sees == nuv::Semaphore_guard::Sees::every_wait;
}

int wait_once(CNuv_sem_access& access, nuv::Waiting& waiting) {
    if (access.guard == nullptr) {
        return sem_wait(access.sem);
    }
    nuv::mend_semaphore(access.sem);
    if (!sees_every_wait(*access.guard) && nuv::is_soon_free(access.sem)) {
        return sem_wait(access.sem);
    }
    return access.guard->wait(access.sem, waiting);
}

bool acquire_beside_others(CNuv_sem_access& access, nuv::Patience* patience) {
    nuv::Waiting waiting(patience);
    while (access.sem != nullptr) {
        if (wait_once(access, waiting) == 0) {
            return true;
        }
        if (!outlast_failure(access)) {
            return false;
        }
    }
    return false;
}

/// Whether a wait needs neither the guard nor its patience, as most don't.
bool is_free_for_the_asking(const CNuv_sem_access& access) {
    if (access.sem == nullptr || access.guard == nullptr || sees_every_wait(*access.guard)) {
        return false;
    }
    nuv::mend_semaphore(access.sem);
    return nuv::is_free(access.sem);
}

bool acquire(CNuv_sem_access& access, nuv::Patience* patience) {
    if (is_free_for_the_asking(access)) {
        if (sem_wait(access.sem) == 0) {
            return true;
        }
        if (!outlast_failure(access)) {
            return false;
        }
    }
    return acquire_beside_others(access, patience);
}

int wait_through(CNuv_sem_access& access, nuv::Patience* patience) {
    const std::uint64_t me = this_thread();
    if (holds(access, me)) {
        const int depth = record_holder(access, me);
        NUV_LOG(access, NUV_LOG_TRACE, "%s: no sem_wait called wait_called %d t_id %u", op_wait,
                depth, static_cast<unsigned int>(me));
        return 0;
    }
    if (!acquire(access, patience)) {
        NUV_LOG(access, NUV_LOG_TRACE, "%s: return with error -1", op_wait);
        return -1;
    }
    const int depth = record_holder(access, me);
    NUV_LOG(access, NUV_LOG_TRACE, "%s: sem_wait returned %d wait_called %d t_id %u", op_wait, 0,
            depth, static_cast<unsigned int>(me));
    return 0;
}

}  // namespace

void nuv::become_holder(CNuv_sem_access& access) {
    record_holder(access, this_thread());
}

CNuv_sem_access::CNuv_sem_access(sem_t* semaphore) : sem(semaphore) {}

void CNuv_sem_access::SetLog(CNuv_Log* log) {
    nuv::relaxed_store(clog, log);
}

void CNuv_sem_access::set_general_bits(unsigned int bits) {
    nuv::relaxed_store(general_bits, bits);
}

int CNuv_sem_access::wait() {
    return wait_through(*this, nullptr);
}

int nuv::wait_with_patience(CNuv_sem_access& access, Patience& patience) {
    return wait_through(access, &patience);
}

int CNuv_sem_access::trywait() {
    if (sem == nullptr) {
        errno = EINVAL;
        return -1;
    }
    return sem_trywait(sem);
}

int CNuv_sem_access::post() {
    static constexpr char op[] = "post";
    const std::int32_t held = nuv::relaxed_load(wait_called);
    if (held < 1) {
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: error sem_post", op);
        return 0;
    }
    const std::int32_t depth = held - 1;
    nuv::relaxed_store(wait_called, depth);
    if (depth > 0) {
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: no sem_post wait_called %d", op, depth);
        return 0;
    }
    // Cleared before the post, so that the next holder's id is never overwritten.
    nuv::relaxed_store(t_id, std::uint64_t{0});
    if (guard != nullptr) {
        nuv::mend_semaphore(sem);
    }
    const int result = sem_post(sem);
    if (guard != nullptr && sees_every_wait(*guard)) {
        guard->posted();
    }
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: sem_post returned %d wait_called %d", op, result, depth);
    return 0;
}

void CNuv_sem_access::writelog(unsigned int level, const char* format, ...) {
    CNuv_Log* const log = nuv::listener(*this);
    if (log == nullptr) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    log->writelog(level, static_cast<int>(NUV_BIT_LOG_SEM_ACCESS), format, arguments);
    va_end(arguments);
}
