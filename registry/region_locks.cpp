#include "registry/region_locks.h"

#include <nuv/registry_layout.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <thread>

namespace nuv {
namespace {

Lock_answer try_lock(int fd, short type, off_t first, off_t length) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = first;
    lock.l_len = length;
    if (fcntl(fd, F_OFD_SETLK, &lock) == 0) {
        return Lock_answer::taken;
    }
    // Only a kernel without such locks says EINVAL; a full table of locks, for one, will pass.
    return errno == EINVAL ? Lock_answer::unknown : Lock_answer::busy;
}

/// False only when somebody else holds the lock.
bool set_lock(int fd, short type, off_t first, off_t length) {
    return try_lock(fd, type, first, length) != Lock_answer::busy;
}

}  // namespace

bool Gate::acquire(Deadline deadline) {
    using namespace std::chrono_literals;
    std::chrono::microseconds pause = 100us;
    while (!set_lock(fd, F_WRLCK, NUV_SHM_GATE_BYTE, 1)) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(pause);
        pause = std::min<std::chrono::microseconds>(2 * pause, 5ms);
    }
    held = true;
    return true;
}

void Gate::release() {
    if (held) {
        set_lock(fd, F_UNLCK, NUV_SHM_GATE_BYTE, 1);
        held = false;
    }
}

bool share_presence(int fd) {
    return set_lock(fd, F_RDLCK, NUV_SHM_PRESENCE_BYTE, 1);
}

bool claim_presence(int fd) {
    return set_lock(fd, F_WRLCK, NUV_SHM_PRESENCE_BYTE, 1);
}

Lock_answer try_update_byte(int fd) {
    return try_lock(fd, F_WRLCK, NUV_SHM_UPDATE_BYTE, 1);
}

void drop_update_byte(int fd) {
    set_lock(fd, F_UNLCK, NUV_SHM_UPDATE_BYTE, 1);
}

void drop_locks(int fd) {
    set_lock(fd, F_UNLCK, NUV_SHM_GATE_BYTE, NUV_SHM_UPDATE_BYTE + 1);
}

}  // namespace nuv
