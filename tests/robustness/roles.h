// A process with one manager, that attaches, keeps the heartbeat, and leaves when it is told to.
#pragma once

#include "processes.h"

#include <nuv/shm_manager.h>

namespace robustness {

/// Staleness tolerance of every manager here, the smallest there is.
constexpr std::chrono::seconds tolerance(4);
/// A heartbeat has whole seconds: so it takes up to a second more to be found too old.
constexpr milliseconds attach_bound = tolerance + 1s;
/// What a loaded machine may add before a bound counts as missed.
constexpr milliseconds machine_slack(2000);

/// With a log, so that every line is a step.
std::unique_ptr<CNuv_shm_manager> make_manager();
bool is_success(unsigned int result);

enum class Phase { none, attach, heartbeat, update, leave };

/// Where a member's steps are counted, and what happens there.
struct Plan {
    Phase phase = Phase::none;
    long step = 0;
    int signal = 0;              ///< sent right before that step
    const char* from_line = "";  ///< counts from the line with this part on
    bool uses_update = false;    ///< also takes `sem_update` with each heartbeat
    int attempts = 2;            ///< the second is the documented retry
};

class Member {
public:
    explicit Member(const char* who = "a member", const Plan& plan = {});

    /// Written by the process, but for what it is asked for.
    struct Board {
        std::atomic<bool> attached{false};
        std::atomic<bool> refused{false};  ///< for good, at all of its attempts
        std::atomic<bool> left{false};
        std::atomic<bool> asked_to_leave{false};
        std::atomic<bool> asked_to_pause{false};
        std::atomic<bool> paused{false};
        std::atomic<unsigned int> answer{0};
        std::atomic<ino_t> inode{0};
        std::atomic<long> steps{0};
        std::atomic<long> attach_ms{0};  ///< from the start of `Initialize` to its success
        std::atomic<long> heartbeats{0};
        std::atomic<int> retries{0};
    };
    Shared<Board> board;
    Process process;

    void wait_until_attached(milliseconds at_most = attach_bound);
    /// Heartbeats that have begun after this call, and ended.
    void wait_for_heartbeats(int count);
    /// A member that pauses holds nothing.
    void pause();
    /// Pauses, and is stopped.
    void stop();
    void leave();

private:
    void wait_until(milliseconds at_most, const char* complaint,
                    const std::function<bool()>& condition);

    const char* name;
};

/// Once all have left.
void see_region_gone(const std::string& after);

/// What the dead have left in the counts goes with the next clear, and the region with its last
/// user.
void see_next_one_clear_and_remove();

/// Attaches and holds that semaphore for so long or until it is killed; it does when this returns.
Process start_holder(std::unique_ptr<CNuv_sem_access> CNuv_shm_manager::*semaphore,
                     milliseconds how_long = 1h);

}  // namespace robustness
