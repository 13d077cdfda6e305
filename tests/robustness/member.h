// A process with one manager, that attaches, uses the registry, and leaves when it is told to.
#pragma once

#include "processes.h"

#include <nuv/shm_manager.h>

namespace robustness {

/// Staleness tolerance of every manager here but device managers, the smallest there is.
constexpr std::chrono::seconds tolerance(4);
/// What a loaded machine may add before a bound counts as missed.
constexpr milliseconds machine_slack(2000);
/// A heartbeat has whole seconds: so it takes up to a second more to be found too old.
constexpr milliseconds attach_bound = tolerance + 1s + machine_slack;

/// With a log, so that every line is a step.
std::unique_ptr<CNuv_shm_manager> make_manager();

/// What the log of some members has said, and the last id that one of them was given.
struct Ledger {
    std::atomic<long> clears{0};
    std::atomic<long> freed{0};  ///< a `sem_update` of a dead process
    std::atomic<long> taken{0};  ///< one that was waited for in vain, so far
    // Under sem_rw.
    std::atomic<unsigned int> last_id{0};
    std::atomic<long> clears_at_last_id{0};
    std::atomic<ino_t> region_of_last_id{0};
};
/// Clears and recoveries are said before they are done.
void listen_for(Ledger& ledger);

/// What a member does as long as it is attached. All but the first are whole device managers.
enum class Use { heartbeat, open_and_close, open_once, scan, open_once_and_scan };

struct Habits {
    Use use = Use::heartbeat;
    bool uses_update = false;  ///< also takes `sem_update` with each heartbeat
    bool pauses_first = false;
    int attempts = 2;  ///< the second is the documented retry
    long beats = -1;   ///< after which it leaves unasked
    unsigned int rights_given_up = 0;
    Ledger* ledger = nullptr;
};

enum class Phase { none, attach, heartbeat, update, leave };

/// Where a member's steps are counted, and what happens there.
struct Plan {
    Phase phase = Phase::none;
    long step = 0;
    int signal = 0;              ///< sent right before that step
    bool forks = false;          ///< first, in a thread of its own
    const char* from_line = "";  ///< counts from the line with this part on
};

class Member {
public:
    explicit Member(const char* who = "a member", const Habits& habits = {}, const Plan& plan = {});

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
        std::atomic<long> steps{0};  ///< once it is through the planned phase alive
        std::atomic<pid_t> child{0};
        std::atomic<long> beats{0};
        std::atomic<int> retries{0};
    };
    Shared<Board> board;
    Process process;

    void wait_until_attached();
    /// Two that have begun after this call, and ended.
    void wait_for_beats();
    /// A member that pauses holds nothing.
    void pause();
    void wait_until_stopped();  // or ended
    void leave();

private:
    void wait_until(milliseconds at_most, const char* complaint,
                    const std::function<bool()>& condition);

    const char* name;
};

/// Once all have left. What the dead have left in the counts goes with the next clear, and the
/// region with its last user.
void see_region_gone(const std::string& after, long dead_and_counted = 0);

/// Attached, and has that semaphore for so long.
Process start_holder(std::unique_ptr<CNuv_sem_access> CNuv_shm_manager::*semaphore,
                     milliseconds how_long = 1h);

}  // namespace robustness
