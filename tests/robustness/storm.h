// What the workers of a storm tell each other and the driver, and what they do.
#pragma once

#include "processes.h"

#include <array>

namespace robustness {

/// One worker, written by it alone but for `doomed` and `stopped`, which the driver sets before it
/// sends the signal.
struct Worker_slot {
    std::atomic<pid_t> pid{0};
    std::atomic<ino_t> inode{0};       ///< attached to, from one return to the next call
    std::atomic<bool> in_list{false};  ///< holds `sem_rw` to change the list
    std::atomic<bool> lingers{false};  ///< does so for a while
    std::atomic<bool> doomed{false};
    std::atomic<bool> stopped{false};
    std::atomic<bool> parked{false};
    std::atomic<long> progress{0};
    std::atomic<const char*> doing{""};
};

struct Storm_board {
    std::array<Worker_slot, 12> workers;
    std::atomic<bool> park{false};
    std::atomic<bool> quit{false};
    std::atomic<bool> holder_wanted{false};  ///< the next one to change the list takes its time

    std::atomic<long> attaches{0};
    std::atomic<long> managers{0};  ///< attaches of whole device managers among them
    std::atomic<long> clears{0};
    std::atomic<long> freed_rw{0};
    std::atomic<long> freed_update{0};
    std::atomic<long> refused{0};
    std::atomic<long> ids{0};
    std::atomic<long> unsure_ids{0};  ///< after a stopped holder of `sem_rw` was taken for dead
    std::atomic<long> opens{0};
    std::atomic<long> scans{0};

    // Under sem_rw.
    std::atomic<unsigned int> last_id{0};
    std::atomic<long> clears_at_last_id{0};
    std::atomic<ino_t> region_of_last_id{0};
    std::atomic<bool> ids_unsure{false};
};

/// Listens to the library's log: clears and recoveries are said before they are done.
void count_from_log(Storm_board& board);

/// Until it is told to quit, or dies, a worker has a manager of the registry alone again and again,
/// or a whole device manager with its back-ends and threads. Throws at the first broken promise.
void work(Storm_board& board, Worker_slot& self, unsigned int seed, bool with_cameras);

}  // namespace robustness
