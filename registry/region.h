// Reaching the parts of the mapped region that need more than a plain field access.
#pragma once

#include <nuv/registry_layout.h>
#include <nuv/shm_manager.h>

#include <sys/time.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace nuv {

/// A packed record hands out no pointers to its members. These members are aligned all the same:
/// the region starts on a page.
template <class Member>
Member* aligned_member(NUV_Devlist_Shm* region, std::size_t offset) {
    return reinterpret_cast<Member*>(reinterpret_cast<unsigned char*>(region) + offset);
}

inline sem_t* sem_rw_of(NUV_Devlist_Shm* region) {
    return aligned_member<sem_t>(region, offsetof(NUV_Devlist_Shm, sem_rw));
}

inline sem_t* sem_update_of(NUV_Devlist_Shm* region) {
    return aligned_member<sem_t>(region, offsetof(NUV_Devlist_Shm, sem_update));
}

/// The heartbeat is read without `sem_rw` where its age is tested.
inline std::int64_t load_time_stamp(NUV_Devlist_Shm* region) {
    return __atomic_load_n(
        aligned_member<std::int64_t>(region, offsetof(NUV_Devlist_Shm, time_stamp)),
        __ATOMIC_RELAXED);
}

inline void store_time_stamp(NUV_Devlist_Shm* region, std::int64_t seconds) {
    __atomic_store_n(aligned_member<std::int64_t>(region, offsetof(NUV_Devlist_Shm, time_stamp)),
                     seconds, __ATOMIC_RELAXED);
}

inline std::int64_t wall_clock_seconds() {
    timeval now{};
    gettimeofday(&now, nullptr);
    return now.tv_sec;
}

inline bool is_attached(const CNuv_shm_manager& manager) {
    return manager.m_hMem >= 0 && manager.devlist_shm != nullptr;
}

/// Index of the first entry that matches, or -1. Entries lie too far apart for vector instructions:
/// what counts is that the loop costs no more than its comparisons.
template <class Matches>
int find_entry(const NUV_Devlist_Shm& region, Matches matches) {
#pragma GCC unroll 16
    for (int index = 0; index < NUV_DEVICE_COUNT; ++index) {
        if (matches(region.nuvdevice[index])) {
            return index;
        }
    }
    return -1;
}

}  // namespace nuv
