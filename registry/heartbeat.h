// Tests of the heartbeat's age that store nothing: a row of attempts to attach cannot keep a dead
// registry looking alive.
#pragma once

#include <nuv/shm_manager.h>

namespace nuv {

/// Whether the heartbeat is older than the manager's tolerance at `now`, in seconds since the
/// Epoch, or lies in the future.
bool is_stale(CNuv_shm_manager& manager, NUV_Devlist_Shm* region, std::int64_t now);

/// The same at this moment and without a word in the log, for who asks again and again.
bool looks_stale(const CNuv_shm_manager& manager, NUV_Devlist_Shm* region);

}  // namespace nuv
