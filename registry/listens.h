// Whether anybody hears what the registry's classes write.
#pragma once

#include "interface/log_line.h"
#include "registry/relaxed.h"

#include <nuv/bits.h>
#include <nuv/sem_access.h>
#include <nuv/shm_manager.h>

namespace nuv {

inline bool listens(const CNuv_sem_access& access) {
    return access.clog != nullptr &&
           (relaxed_load(access.general_bits) & NUV_BIT_LOG_SEM_ACCESS) != 0;
}

inline bool listens(const CNuv_shm_manager& manager) {
    return manager.clog != nullptr &&
           (relaxed_load(manager.general_bits) & NUV_BIT_LOG_SHM_MANAGER) != 0;
}

}  // namespace nuv
