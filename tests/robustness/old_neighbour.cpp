#include "old_neighbour.h"

#include <nuv/registry_layout.h>

#include <fcntl.h>
#include <semaphore.h>
#include <unistd.h>

#include <cstddef>

namespace robustness {

int Old_neighbour::live(Board& board, uid_t user) {
    const int fd = shm_open(NUV_SHM_NAME, O_RDWR, 0);
    auto* const region = static_cast<unsigned char*>(
        mmap(nullptr, NUV_SHM_SIZE, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0));
    if (region == MAP_FAILED || setuid(user) != 0) {
        return 1;
    }
    auto* const sem_update =
        reinterpret_cast<sem_t*>(region + offsetof(NUV_Devlist_Shm, sem_update));
    sem_wait(sem_update);
    board.holds = true;
    while (!board.leave) {
        usleep(1000);
    }
    sem_post(sem_update);
    return 0;
}

Old_neighbour::Old_neighbour(uid_t user)
    : shared(std::make_unique<Shared<Board>>()),
      process([this, user] { return live(**shared, user); }) {
    if (!wait_for(std::chrono::seconds(5), [this] { return (*shared)->holds.load(); })) {
        fail("an old neighbour does not get sem_update");
    }
}

void Old_neighbour::post_and_leave() {
    (*shared)->leave = true;
    if (!process.wait_until_ended(std::chrono::seconds(5)) || process.result() != 0) {
        fail("an old neighbour does not leave");
    }
}

}  // namespace robustness
