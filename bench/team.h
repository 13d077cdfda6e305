// Processes that look up at the same time.
#pragma once

#include "floor.h"

#include <nuv/shm_manager.h>

#include <sys/types.h>

#include <chrono>
#include <memory>
#include <vector>

namespace nuv_bench {

/// Forked, each with a manager of its own; free to run on every core, and asleep between rounds.
class Team {
public:
    enum class Task { library, floor, leave };

    explicit Team(int size);
    Team(const Team&) = delete;
    Team& operator=(const Team&) = delete;
    ~Team();

    /// Has all of them look the last entry up, over and over, for so long.
    /// \return look-ups a second, by process
    std::vector<double> work(Task task, std::chrono::milliseconds duration);

private:
    struct Board;

    void run_member(int number);
    void start(Task task);

    std::shared_ptr<CNuv_shm_manager> keeper;
    Floor floor;
    Board* board;
    std::vector<pid_t> members;
};

}  // namespace nuv_bench
