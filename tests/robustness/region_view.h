// The region as somebody outside sees it, and changes it at will: through its file, without locks.
#pragma once

#include "support/region_file.h"

#include <nuv/registry_layout.h>

#include <sys/types.h>

#include <cstdint>

namespace robustness {

using nuv_test::region_exists;
using nuv_test::region_file;

/// Its bytes at this moment, 0 where there are none.
NUV_Devlist_Shm region_bytes();
int sem_rw_value();
int sem_update_value();

/// 0 without a file.
ino_t inode_of(int fd);
ino_t region_inode();

/// Makes the heartbeat older; so old that it is stale, if nothing else is asked for.
void age_heartbeat(std::int64_t seconds = 100000);
/// In the last entry of the list, and whether it is still there.
void add_old_camera();
bool has_old_camera();

}  // namespace robustness
