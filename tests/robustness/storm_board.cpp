#include "storm_board.h"

#include "counting_log.h"
#include "region_view.h"

#include <nuv/result.h>

#include <sys/stat.h>

#include <csignal>

namespace robustness {
namespace {

bool contains(const std::string& line, const char* part) {
    return line.find(part) != std::string::npos;
}

/// Whoever is stopped while it changes the list goes on beside the next holder of `sem_rw`, once it
/// has been taken for dead.
void note_robbed_holder(Storm_board& board, bool is_clear) {
    bool robbed = false;
    for (const Worker_slot& worker : board.workers) {
        robbed = robbed || (worker.stopped && !worker.doomed && worker.in_list);
    }
    if (robbed || is_clear) {
        board.ids_unsure = robbed;
    }
}

}  // namespace

void count_from_log(Storm_board& board) {
    watch_lines([&board](const std::string& line) {
        if (contains(line, "clear list of devices")) {
            note_robbed_holder(board, true);
            ++board.clears;
        } else if (contains(line, "sem_rw was held for too long")) {
            note_robbed_holder(board, false);
            ++board.freed_rw;
        } else if (contains(line, "sem_update was held by a dead process")) {
            ++board.freed_update;
        }
    });
}

void check_region(const Storm_board& board, const Worker_slot& self, int fd) {
    struct stat status {};
    if (fstat(fd, &status) != 0 || status.st_nlink == 0) {
        fail("storm: attached to a region without a name");
    }
    for (const Worker_slot& other : board.workers) {
        const pid_t pid = other.pid;
        const ino_t inode = other.inode;
        // This one is attached all the while; so a living one with another region is on it now.
        if (&other != &self && inode != 0 && inode != status.st_ino && pid != 0 &&
            ::kill(pid, 0) == 0 && !other.doomed && other.pid == pid && other.inode == inode) {
            fail("storm: two workers are attached to different regions");
        }
    }
}

void take_id(Storm_board& board, Worker_slot& self, CNuv_shm_manager& manager) {
    manager.sema_rw->wait();
    self.in_list = true;
    unsigned int id = 0;
    const unsigned int result = manager.get_next_id(id);
    const long clears = board.clears;
    const ino_t region = self.inode;
    const bool repeats = id <= board.last_id && clears == board.clears_at_last_id &&
                         region == board.region_of_last_id;
    const bool unsure = board.ids_unsure;
    const unsigned int last = board.last_id;
    board.last_id = id;
    board.clears_at_last_id = clears;
    board.region_of_last_id = region;
    if (board.holder_wanted.exchange(false)) {
        self.lingers = true;
        std::this_thread::sleep_for(milliseconds(50));
        self.lingers = false;
    }
    self.in_list = false;
    manager.sema_rw->post();
    ++board.ids;
    board.unsure_ids += unsure ? 1 : 0;
    if (result != NUV_NOERROR || (repeats && !unsure)) {
        fail("storm: id %u after %u, without a clear between (0x%x)", id, last, result);
    }
}

}  // namespace robustness
