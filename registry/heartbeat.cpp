// The time stamp by which everybody tells a living registry from one that dead processes left.
#include "registry/heartbeat.h"

#include "registry/listens.h"
#include "registry/region.h"
#include "registry/sem_hold.h"
#include "registry/sliced_wait.h"

#include <nuv/bits.h>

#include <algorithm>

namespace nuv {
namespace {

/// In seconds; unsigned, so that a stamp in the future is older than any tolerance.
std::uint64_t age_of(std::uint64_t stamp, std::uint64_t now) {
    return now - stamp;
}

}  // namespace

bool is_stale(CNuv_shm_manager& manager, NUV_Devlist_Shm* region, std::int64_t now_seconds) {
    static constexpr char op[] = "time_stamp_timeout";
    const auto now = static_cast<std::uint64_t>(now_seconds);
    const auto stamp = static_cast<std::uint64_t>(load_time_stamp(region));
    const std::uint64_t difference = age_of(stamp, now);
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: time_stamp difference %lu %lu %lu", op, difference, now,
            stamp);
    const bool stale = difference > manager.m_difftime;
    if (stale) {
        NUV_LOG(manager, NUV_LOG_ERROR, "%s: time_stamp difference to high %lu > %lu", op,
                difference, manager.m_difftime);
    }
    return stale;
}

bool looks_stale(const CNuv_shm_manager& manager, NUV_Devlist_Shm* region) {
    return age_of(static_cast<std::uint64_t>(load_time_stamp(region)),
                  static_cast<std::uint64_t>(wall_clock_seconds())) > manager.m_difftime;
}

}  // namespace nuv

bool CNuv_shm_manager::time_stamp_timeout() {
    if (!nuv::is_attached(*this)) {
        return false;
    }
    const std::int64_t now = nuv::wall_clock_seconds();
    const bool stale = nuv::is_stale(*this, devlist_shm, now);
    nuv::store_time_stamp(devlist_shm, now);
    return stale;
}

void CNuv_shm_manager::update_time_stamp() {
    static constexpr char op[] = "update_time_stamp";
    if (!nuv::is_attached(*this)) {
        return;
    }
    const nuv::Sem_hold hold(*sema_rw);
    const std::int64_t now = nuv::wall_clock_seconds();
    nuv::store_time_stamp(devlist_shm, now);
    NUV_LOG(*this, NUV_LOG_CYCLE, "%s: time_stamp now %lu", op, static_cast<unsigned long>(now));
    if (hold.is_acquired()) {
        nuv::take_surplus_posts(sema_rw->sem);
    }
}

void CNuv_shm_manager::set_difftime(unsigned int seconds) {
    static constexpr char op[] = "set_difftime";
    m_difftime = std::clamp(seconds, 4U, 3600U);
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: m_difftime set to %lu", op, m_difftime);
}
