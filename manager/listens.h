// Whether anybody hears what the device manager writes.
#pragma once

#include "interface/log_line.h"
#include "registry/relaxed.h"

#include <nuv/bits.h>
#include <nuv/device_manager.h>

namespace nuv {

inline bool listens(const CNuv_device_manager& manager) {
    return manager.cdevlog != nullptr ||
           (manager.clog != nullptr &&
            (relaxed_load(manager.m_general_bits) & NUV_BIT_LOG_DEVICE_MANAGER) != 0);
}

}  // namespace nuv
