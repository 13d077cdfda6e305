// Attaching and detaching while somebody else stays, beside the same without any lock.
#include "fail.h"
#include "registry_world.h"
#include "round.h"

#include <nuv/result.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/time.h>
#include <unistd.h>

namespace nuv_bench {
namespace {

constexpr char floor_name[] = "/nuv_bench_region";

/// A region of its own, from a copy of a registry's bytes.
class Floor_region {
public:
    explicit Floor_region(const NUV_Devlist_Shm& original) {
        const int fd = shm_open(floor_name, O_RDWR | O_CREAT | O_TRUNC, 0600);
        require(fd >= 0 && write(fd, &original, NUV_SHM_SIZE) == NUV_SHM_SIZE,
                "no shared memory for the yardstick");
        close(fd);
    }
    Floor_region(const Floor_region&) = delete;
    Floor_region& operator=(const Floor_region&) = delete;
    ~Floor_region() { shm_unlink(floor_name); }
};

sem_t* semaphore_of(NUV_Devlist_Shm* region) {
    return reinterpret_cast<sem_t*>(reinterpret_cast<char*>(region) +
                                    offsetof(NUV_Devlist_Shm, sem_rw));
}

void change_count(NUV_Devlist_Shm* region, int change) {
    sem_wait(semaphore_of(region));
    region->opencount = static_cast<std::int16_t>(region->opencount + change);
    sem_post(semaphore_of(region));
}

/// Probe, open, map, look at version and heartbeat, count in, try the semaphore; count out, unmap,
/// close.
void attach_and_detach_by_hand() {
    const int probe = shm_open(floor_name, O_RDWR, 0666);
    close(probe);
    const int fd = shm_open(floor_name, O_RDWR, 0666);
    auto* const region = static_cast<NUV_Devlist_Shm*>(
        mmap(nullptr, NUV_SHM_SIZE, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0));
    require(region != MAP_FAILED && region->struct_version == NUV_SHM_VERSION,
            "the yardstick's region is broken");
    timeval now{};
    gettimeofday(&now, nullptr);
    region->time_stamp = now.tv_sec;
    region->processid = getpid();
    change_count(region, 1);
    sem_wait(semaphore_of(region));
    sem_post(semaphore_of(region));
    change_count(region, -1);
    munmap(region, NUV_SHM_SIZE);
    close(fd);
}

Comparison attach_and_detach() {
    const std::shared_ptr<CNuv_shm_manager> keeper = manager_of_full_registry();
    const auto floor = std::make_shared<Floor_region>(*keeper->devlist_shm);
    constexpr int in_a_round = 50;
    return {repeated(in_a_round,
                     [keeper] {
                         CNuv_shm_manager manager;
                         require(manager.Initialize() == NUV_NOERROR, "cannot attach");
                     }),
            repeated(in_a_round, [floor] { attach_and_detach_by_hand(); })};
}

}  // namespace

Rows attach_rows() {
    return {{"attach and detach", "open, map, count, unmap", 1.5, attach_and_detach}};
}

}  // namespace nuv_bench
