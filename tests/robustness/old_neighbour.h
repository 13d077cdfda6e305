// A process that uses the region as a library does that knows nothing of its locks.
#pragma once

#include "process.h"

#include <atomic>
#include <memory>

namespace robustness {

class Old_neighbour {
public:
    /// Attached to the region that is there, and holding `sem_update` when this returns.
    explicit Old_neighbour(uid_t user = 0);

    void post_and_leave();
    void kill() { process.kill(); }

private:
    struct Board {
        std::atomic<bool> holds{false};
        std::atomic<bool> leave{false};
    };
    static int live(Board& board, uid_t user);

    std::unique_ptr<Shared<Board>> shared;
    Process process;
};

}  // namespace robustness
