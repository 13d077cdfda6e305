// A registry as the rows need it: full, and attached to.
#pragma once

#include <nuv/registry_layout.h>
#include <nuv/shm_manager.h>

#include <memory>

namespace nuv_bench {

constexpr unsigned int last_id = NUV_DEVICE_COUNT;
constexpr unsigned int absent_id = NUV_DEVICE_COUNT + 1;

/// Present, of that id, with a serial number and names as cameras have them.
NUV_Device device(unsigned int id, unsigned int iftype);

/// Attached, nobody listening; ends the program with a message when that fails.
std::unique_ptr<CNuv_shm_manager> attached_manager();

/// Attached to a registry with 128 devices of one type, which have the ids 1 to 128 in this order.
std::unique_ptr<CNuv_shm_manager> manager_of_full_registry();

}  // namespace nuv_bench
