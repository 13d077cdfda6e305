// What the region's fuzzer is made of: bytes, operations, and somebody who looks on.
#pragma once

#include <nuv/interface.h>
#include <nuv/shm_manager.h>

#include <fuzzer/FuzzedDataProvider.h>

namespace nuv_fuzz {

/// Whether an input may take the semaphores, which makes a run slow: one in 64. Depends on every
/// byte, so that what is derived from a slow input is seldom slow as well. The files in
/// corpus/region may.
bool may_take_semaphores(const std::uint8_t* data, std::size_t size);

/// Bytes that a hostile or broken neighbour may write into the region: overwrites it as the input
/// says, but for the version, with which nobody would attach.
void distort(NUV_Devlist_Shm& region, FuzzedDataProvider& input, bool takes_semaphores);

// Every operation on the region, each run with arguments that the input chooses.

void look_up(CNuv_shm_manager& manager, FuzzedDataProvider& input);
void change(CNuv_shm_manager& manager, FuzzedDataProvider& input);
/// Scans, and opens and closes devices; may leave some open.
void use_cameras(CNuv_interface& backend, FuzzedDataProvider& input);
/// Of any type, as a back-end of that type would.
void delete_devices(CNuv_interface& backend, FuzzedDataProvider& input);

/// The operator's tool: sometimes runs one of the verbs that only look, or says what has changed
/// since the first sight. What it prints must be fit for a terminal. Printing a table takes longer
/// than all that the managers do.
void look(FuzzedDataProvider& input, const NUV_Devlist_Shm& first_sight);

}  // namespace nuv_fuzz
