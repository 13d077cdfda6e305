// How long attaching and detaching wait for others that are at it.
#pragma once

#include "registry/region_locks.h"

#include <nuv/shm_manager.h>

namespace nuv {

/// Longer than it takes a registry to be found stale.
inline Deadline deadline_for(const CNuv_shm_manager& manager) {
    constexpr std::chrono::seconds margin(5);
    return std::chrono::steady_clock::now() + std::chrono::seconds(manager.m_difftime) + margin;
}

}  // namespace nuv
