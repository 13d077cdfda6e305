// Every operation on the region, each run with arguments that the input chooses.
#pragma once

#include <nuv/interface.h>
#include <nuv/shm_manager.h>

#include <fuzzer/FuzzedDataProvider.h>

namespace nuv_fuzz {

void look_up(CNuv_shm_manager& manager, FuzzedDataProvider& input);
void change(CNuv_shm_manager& manager, FuzzedDataProvider& input);
/// Scans, and opens and closes devices; may leave some open.
void use_cameras(CNuv_interface& backend, FuzzedDataProvider& input);
/// Of any type, as a back-end of that type would.
void delete_devices(CNuv_interface& backend, FuzzedDataProvider& input);

}  // namespace nuv_fuzz
