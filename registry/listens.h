// Who hears what the registry's classes write. The log is replaced while other threads write.
#pragma once

#include "interface/log_line.h"
#include "registry/relaxed.h"

#include <nuv/bits.h>
#include <nuv/sem_access.h>
#include <nuv/shm_manager.h>

namespace nuv {

inline bool writes_lines(const CNuv_sem_access& access) {
    return (relaxed_load(access.general_bits) & NUV_BIT_LOG_SEM_ACCESS) != 0;
}

inline bool writes_lines(const CNuv_shm_manager& manager) {
    return (relaxed_load(manager.general_bits) & NUV_BIT_LOG_SHM_MANAGER) != 0;
}

/// Null when nobody does.
template <class Object>
CNuv_Log* listener(const Object& object) {
    return writes_lines(object) ? relaxed_load(object.clog) : nullptr;
}

inline bool listens(const CNuv_sem_access& access) {
    return writes_lines(access) && relaxed_load(access.clog) != nullptr;
}

inline bool listens(const CNuv_shm_manager& manager) {
    return writes_lines(manager) && relaxed_load(manager.clog) != nullptr;
}

}  // namespace nuv
