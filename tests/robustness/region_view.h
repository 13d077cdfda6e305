// The region as somebody outside sees it, and changes it at will: through its file, without locks.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace robustness {

constexpr char region_file[] = "/dev/shm/nuv_device_shmem";

bool region_exists();
/// 0 without a region.
ino_t region_inode();
int region_opencount();
int sem_rw_value();
int sem_update_value();
/// Makes the heartbeat older, or younger.
void age_heartbeat(std::int64_t seconds);
/// As after long silence.
void make_stale();
/// An entry in the list, and whether it is still there.
void add_old_camera();
bool has_old_camera();
void remove_region_file();
void write_region_file(const std::string& bytes);

/// Whether the descriptor's file is the one that has the name.
bool is_the_named_region(int fd);
ino_t inode_of(int fd);

}  // namespace robustness
