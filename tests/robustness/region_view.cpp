#include "region_view.h"

#include <nuv/registry_layout.h>

#include <fcntl.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <fstream>

namespace robustness {
namespace {

class File {
public:
    File() : fd(open(region_file, O_RDWR | O_CLOEXEC)) {}
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() {
        if (fd >= 0) {
            close(fd);
        }
    }
    template <class Value>
    Value read(std::size_t offset) const {
        Value value{};
        const ssize_t count = pread(fd, &value, sizeof value, static_cast<off_t>(offset));
        return count == static_cast<ssize_t>(sizeof value) ? value : Value{};
    }
    template <class Value>
    void write(std::size_t offset, Value value) const {
        if (pwrite(fd, &value, sizeof value, static_cast<off_t>(offset)) < 0) {
            return;  // without a region there is nothing to change
        }
    }

private:
    int fd;
};

/// Of the last entry.
constexpr std::size_t old_serialnumber = offsetof(NUV_Devlist_Shm, nuvdevice) +
                                         (NUV_DEVICE_COUNT - 1) * sizeof(NUV_Device) +
                                         offsetof(NUV_Device, serialnumber);

int semaphore_value(std::size_t offset) {
    auto semaphore = File().read<sem_t>(offset);
    int value = -1;
    sem_getvalue(&semaphore, &value);
    return value;
}

}  // namespace

bool region_exists() {
    return access(region_file, F_OK) == 0;
}

ino_t region_inode() {
    struct stat status {};
    return stat(region_file, &status) == 0 ? status.st_ino : 0;
}

int region_opencount() {
    return File().read<std::int16_t>(offsetof(NUV_Devlist_Shm, opencount));
}

int sem_rw_value() {
    return semaphore_value(offsetof(NUV_Devlist_Shm, sem_rw));
}

int sem_update_value() {
    return semaphore_value(offsetof(NUV_Devlist_Shm, sem_update));
}

void age_heartbeat(std::int64_t seconds) {
    const File file;
    constexpr std::size_t offset = offsetof(NUV_Devlist_Shm, time_stamp);
    file.write(offset, file.read<std::int64_t>(offset) - seconds);
}

void make_stale() {
    age_heartbeat(100000);
}

void add_old_camera() {
    File().write<std::uint32_t>(old_serialnumber, 4711);
}

bool has_old_camera() {
    return File().read<std::uint32_t>(old_serialnumber) != 0;
}

void remove_region_file() {
    unlink(region_file);
}

void write_region_file(const std::string& bytes) {
    std::ofstream(region_file, std::ios::binary) << bytes;
}

bool is_the_named_region(int fd) {
    struct stat mine {};
    struct stat named {};
    return fstat(fd, &mine) == 0 && mine.st_nlink > 0 && stat(region_file, &named) == 0 &&
           mine.st_ino == named.st_ino;
}

ino_t inode_of(int fd) {
    struct stat status {};
    return fstat(fd, &status) == 0 ? status.st_ino : 0;
}

}  // namespace robustness
