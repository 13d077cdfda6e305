// Who hears what the device manager writes.
#pragma once

#include "interface/log_line.h"
#include "registry/relaxed.h"

#include <nuv/bits.h>
#include <nuv/device_manager.h>

namespace nuv {

/// Its own log, or else the caller's; null when nobody does. The caller's is replaced while other
/// threads write.
inline CNuv_Log* listener(const CNuv_device_manager& manager) {
    if (manager.cdevlog != nullptr) {
        return manager.cdevlog;
    }
    CNuv_Log* const log = relaxed_load(manager.clog);
    return log != nullptr &&
                   (relaxed_load(manager.m_general_bits) & NUV_BIT_LOG_DEVICE_MANAGER) != 0
               ? log
               : nullptr;
}

inline bool listens(const CNuv_device_manager& manager) {
    return listener(manager) != nullptr;
}

}  // namespace nuv
