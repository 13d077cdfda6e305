#include "lock_look.h"

#include <fcntl.h>
#include <unistd.h>

namespace nuvctl {

Lock_state lock_on(int descriptor, off_t byte) {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    if (fcntl(descriptor, F_OFD_GETLK, &lock) != 0) {
        return Lock_state::unknown;
    }
    return lock.l_type == F_UNLCK ? Lock_state::free : Lock_state::taken;
}

}  // namespace nuvctl
