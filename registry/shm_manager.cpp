// The manager object: set-up, log, and the loop that creates the region or attaches to it.
#include "registry/attempt.h"
#include "registry/listens.h"
#include "registry/time_limits.h"

#include <nuv/bits.h>
#include <nuv/result.h>
#include <nuv/shm_manager.h>

#include <nuvkit/log.h>

#include <cerrno>
#include <new>
#include <thread>

namespace nuv {
namespace {

unsigned int result_of(Outcome outcome) {
    switch (outcome) {
        case Outcome::attached:
            return NUV_NOERROR;
        case Outcome::attached_after_clear:
            return NUV_DIFFTIME_OUT;
        case Outcome::probe_failed:
            return NUV_ERROR_INIT;
        case Outcome::failed:
        case Outcome::start_over:
            break;
    }
    return NUV_ERROR_NOMEMORY;
}

/// Repeats a try until it need not start over. Each has its own look at the deadline.
template <class Try>
unsigned int until_settled(CNuv_shm_manager& manager, const char* op, Try attempt) {
    constexpr std::chrono::microseconds pause(500);
    try {
        Outcome outcome = attempt();
        while (outcome == Outcome::start_over) {
            std::this_thread::sleep_for(pause);
            outcome = attempt();
        }
        return result_of(outcome);
    } catch (const std::bad_alloc&) {
        NUV_LOG(manager, NUV_LOG_ERROR, "%s: out of memory return NUV_ERROR_NOMEMORY", op);
        return NUV_ERROR_NOMEMORY;
    }
}

/// Looks whether the region is there, and goes the way that fits.
Outcome probe_and_try(CNuv_shm_manager& manager, const char* op, Deadline deadline) {
    if (Attachment::can_open()) {
        return try_attach(manager, deadline, When_absent::start_over);
    }
    const int error = errno;
    NUV_LOG_ERROR_NUMBER(manager, NUV_LOG_TRACE, error, "%s: OpenFileMapping %s failed %s",
                         "%s: OpenFileMapping %s failed %d", op, NUV_SHM_NAME);
    if (error != ENOENT) {
        return Outcome::probe_failed;
    }
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: OpenFileMapping %s does not exist call create", op,
            NUV_SHM_NAME);
    return try_create(manager, deadline);
}

}  // namespace
}  // namespace nuv

CNuv_shm_manager::CNuv_shm_manager() = default;

CNuv_shm_manager::CNuv_shm_manager(CNuv_Log* log, unsigned int bits)
    : general_bits(bits), clog(log) {}

CNuv_shm_manager::~CNuv_shm_manager() {
    static constexpr char op[] = "~CNuv_shm_manager";
    NUV_LOG(*this, NUV_LOG_TRACE, "%s:", op);
    close_shm();
}

void CNuv_shm_manager::SetLog(CNuv_Log* log) {
    nuv::relaxed_store(clog, log);
}

int CNuv_shm_manager::set_general_bits(unsigned int bits) {
    nuv::relaxed_store(general_bits, bits);
    return 0;
}

int CNuv_shm_manager::add_general_bits(unsigned int bits) {
    nuv::relaxed_set_bits(general_bits, bits);
    return 0;
}

int CNuv_shm_manager::remove_general_bits(unsigned int bits) {
    nuv::relaxed_clear_bits(general_bits, bits);
    return 0;
}

unsigned int CNuv_shm_manager::Initialize() {
    static constexpr char op[] = "Initialize";
    if (const unsigned int bits = nuv::relaxed_load(general_bits); bits != 0) {
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: general_bits found 0x%x", op, bits);
    }
    if (init_done) {
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: init already done for this instance", op);
        return NUV_ERROR_INIT;
    }
    const nuv::Deadline deadline = nuv::deadline_for(*this);
    const unsigned int result =
        nuv::until_settled(*this, op, [&] { return nuv::probe_and_try(*this, op, deadline); });
    init_done = result == NUV_NOERROR || result == NUV_DIFFTIME_OUT;
    return result;
}

unsigned int CNuv_shm_manager::create_shm() {
    const nuv::Deadline deadline = nuv::deadline_for(*this);
    bool create = false;
    return nuv::until_settled(*this, "create_shm", [&] {
        create = !create;
        return create ? nuv::try_create(*this, deadline)
                      : nuv::try_attach(*this, deadline, nuv::When_absent::start_over);
    });
}

unsigned int CNuv_shm_manager::open_shm() {
    const nuv::Deadline deadline = nuv::deadline_for(*this);
    return nuv::until_settled(*this, "open_shm", [&] {
        return nuv::try_attach(*this, deadline, nuv::When_absent::fail);
    });
}

void CNuv_shm_manager::writelog(unsigned int level, const char* format, ...) {
    CNuv_Log* const log = nuv::listener(*this);
    if (log == nullptr) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    const nuv::Log_line line("CNuv_shm_manager::", format, arguments);
    va_end(arguments);
    line.hand_to(*log, level, NUV_BIT_LOG_SHM_MANAGER);
}
