// Bytes that a hostile or broken neighbour may write into the region.
#pragma once

#include <nuv/registry_layout.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>

namespace nuv_fuzz {

/// What an input may do that makes a run slow: waiting for a semaphore that nobody posts, for a
/// version or for the rest of a file. Most inputs do nothing of it.
enum class Licence { none, any_semaphores, any_version, any_size };

/// Depends on every byte, so that what is derived from a slow input is seldom slow as well. The
/// files in corpus/region have the licence that their names say.
Licence licence_of(const std::uint8_t* data, std::size_t size);

/// Overwrites the region as the input says, and mends what the input has no licence for.
void distort(NUV_Devlist_Shm& region, FuzzedDataProvider& input, Licence licence);

}  // namespace nuv_fuzz
