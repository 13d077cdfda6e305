#include "registry_file.h"

#include "expect.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

namespace demo {

std::optional<NUV_Devlist_Shm> read_registry() {
    const int fd = shm_open(NUV_SHM_NAME, O_RDONLY, 0);
    if (fd < 0) {
        expect(errno == ENOENT, "the registry cannot be looked at");
        return std::nullopt;
    }
    NUV_Devlist_Shm registry;
    const ssize_t count = pread(fd, &registry, sizeof registry, 0);
    close(fd);
    expect(count == static_cast<ssize_t>(sizeof registry), "the registry has the wrong size");
    return registry;
}

long heartbeat_age(const NUV_Devlist_Shm& registry) {
    return static_cast<long>(std::time(nullptr) - registry.time_stamp);
}

}  // namespace demo
