// A process with one manager, that attaches, keeps the heartbeat, and leaves when it is told to.
#pragma once

#include "process.h"

#include <nuv/shm_manager.h>

#include <atomic>
#include <memory>
#include <string>

namespace robustness {

/// Staleness tolerance of every manager here, the smallest there is.
constexpr std::chrono::seconds tolerance(4);
/// A heartbeat has whole seconds: so it takes up to a second more to be found too old.
constexpr milliseconds attach_bound = tolerance + std::chrono::seconds(1);
/// What a loaded machine may add before a bound counts as missed.
constexpr milliseconds machine_slack(2000);

/// With a log, so that every line is a step.
std::unique_ptr<CNuv_shm_manager> make_manager();
bool is_success(unsigned int result);

/// Where a member's steps are counted, and what happens there.
struct Plan {
    enum class Phase { none, attach, heartbeat, update, leave };
    Phase phase = Phase::none;
    long step = 0;
    std::function<void()> action;  ///< right before that step
    std::string from_line;         ///< counts from the line with this part on, if it is not empty
    int attempts = 2;              ///< the second is the documented retry
    bool uses_update = false;      ///< also takes `sem_update` with each heartbeat
};

class Member {
public:
    explicit Member(Plan plan = {});

    Process process;

    bool is_attached() const { return board->attached; }
    bool has_left() const { return board->left; }
    /// Refused for good, at all of its attempts.
    bool is_refused() const { return board->refused; }
    unsigned int answer() const { return board->answer; }
    ino_t inode() const { return board->inode; }
    int retries() const { return board->retries; }
    long steps() const { return board->steps; }
    /// From the start of `Initialize` to its success.
    milliseconds attach_time() const { return milliseconds(board->attach_ms); }

    void wait_until_attached(milliseconds at_most, const char* who);
    /// Heartbeats that have begun after this call, and ended.
    void wait_for_heartbeats(int count, const char* who);
    /// A member that pauses holds nothing.
    void pause(const char* who);
    void ask_to_leave() { board->leave = true; }
    bool is_asked_to_leave() const { return board->leave; }
    void wait_until_left(const char* who);

private:
    struct Board {
        std::atomic<bool> attached{false};
        std::atomic<bool> refused{false};
        std::atomic<bool> left{false};
        std::atomic<bool> leave{false};
        std::atomic<bool> pause{false};
        std::atomic<bool> paused{false};
        std::atomic<unsigned int> answer{0};
        std::atomic<ino_t> inode{0};
        std::atomic<long> steps{0};
        std::atomic<long> attach_ms{0};
        std::atomic<long> heartbeats{0};
        std::atomic<int> retries{0};
    };
    static int live(Board& board, const Plan& plan);
    void wait_until(milliseconds at_most, const char* who, const char* what,
                    const std::atomic<bool>& flag);

    std::unique_ptr<Shared<Board>> shared;
    Board* board;
};

}  // namespace robustness
