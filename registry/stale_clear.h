// Clearing a registry that dead processes left behind.
#pragma once

#include <nuv/shm_manager.h>

namespace nuv {

/// Empties the registry and makes `sem_rw` free, whoever held it. The caller holds the gate and has
/// found the heartbeat stale. The fresh heartbeat is stored last: a clear that is cut short is
/// found stale again. `op` is the operation's name in the log.
void clear_stale_registry(CNuv_shm_manager& manager, NUV_Devlist_Shm* region, const char* op);

}  // namespace nuv
