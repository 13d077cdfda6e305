#include "region_view.h"

#include <sys/stat.h>

#include <fstream>

namespace robustness {
namespace {

int value_of(sem_t semaphore) {
    return nuv_test::value_of(&semaphore);
}

/// Without a region there is nothing to change.
template <class Value>
void overwrite(std::size_t offset, Value value) {
    std::fstream file(region_file, std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(static_cast<std::streamoff>(offset));
    file.write(reinterpret_cast<const char*>(&value), sizeof value);
}

}  // namespace

NUV_Devlist_Shm region_bytes() {
    NUV_Devlist_Shm bytes{};
    std::ifstream(region_file, std::ios::binary)
        .read(reinterpret_cast<char*>(&bytes), sizeof bytes);
    return bytes;
}

int sem_rw_value() {
    return value_of(region_bytes().sem_rw);
}

int sem_update_value() {
    return value_of(region_bytes().sem_update);
}

ino_t inode_of(int fd) {
    struct stat status {};
    return fstat(fd, &status) == 0 ? status.st_ino : 0;
}

ino_t region_inode() {
    struct stat status {};
    return stat(region_file, &status) == 0 ? status.st_ino : 0;
}

void age_heartbeat(std::int64_t seconds) {
    overwrite(offsetof(NUV_Devlist_Shm, time_stamp), region_bytes().time_stamp - seconds);
}

void add_old_camera() {
    NUV_Device camera{};
    camera.serialnumber = 4711;
    overwrite(offsetof(NUV_Devlist_Shm, nuvdevice[NUV_DEVICE_COUNT - 1]), camera);
}

bool has_old_camera() {
    return region_bytes().nuvdevice[NUV_DEVICE_COUNT - 1].serialnumber != 0;
}

}  // namespace robustness
