// Every step boundary: a victim is killed, stopped, or forked and killed, right before its n-th
// step.
#include "region_view.h"
#include "runs.h"
#include "scenes.h"

#include <nuv/result.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <iterator>
#include <optional>
#include <vector>

namespace robustness {
namespace {

/// The signal before the step, and the one that ends a stop.
struct Fate {
    const char* name;
    int signal;
    int release;
    bool meets_newcomer = true;  ///< or only others that leave
    bool forks = false;          ///< and the child lives on
};

constexpr Fate fates[] = {{"killed", SIGKILL, 0},
                          {"stopped", SIGSTOP, SIGCONT},
                          {"stopped and killed", SIGSTOP, SIGKILL},
                          {"stopped while the others leave", SIGSTOP, SIGCONT, false},
                          {"forked and killed", SIGKILL, 0, true, true}};

struct Case {
    const Scene& scene;
    const Fate& fate;
    long step;
    /// A victim is stopped for longer than anybody waits for the gate, the tolerance plus five
    /// seconds, and a heartbeat grows old by waiting alone.
    bool in_real_time;
};

class Run {
public:
    explicit Run(const Case& the_case) : now(the_case), scene(now.scene) {
        habits.uses_update = scene.phase == Phase::update;
    }
    ~Run() {
        if (child > 0) {
            kill(child, SIGKILL);
        }
    }

    /// \return whether there was such a step
    bool play() {
        scene.prepare(cast);
        Member victim("the victim", habits,
                      {scene.phase, now.step, now.fate.signal, now.fate.forks, scene.from_line});
        bring_to_its_step(victim);
        was_stopped = victim.process.is_stopped();
        was_killed = victim.process.has_ended() && victim.process.wait() == -SIGKILL;
        child = victim.board->child;
        const long steps = victim.board->steps;  // of one that is through them
        ++tally().cases;
        tally().hits += steps == 0 ? 1 : 0;
        act_without(victim);
        if (newcomer) {
            see_newcomer_attached();
        }
        finish(std::move(victim));
        see_one_region();
        see_free_semaphores();
        leave();
        return steps == 0 || steps >= now.step;
    }

private:
    /// Returns when the victim is dead, stopped, or through its steps alive.
    void bring_to_its_step(Member& victim) const {
        if (scene.phase == Phase::leave) {
            victim.wait_until_attached();
            victim.board->asked_to_leave = true;
        }
        if (!wait_for(2 * attach_bound, [&] {
                return victim.process.is_stopped() || victim.process.has_ended() ||
                       victim.board->steps != 0;
            })) {
            fail("the victim hangs");
        }
    }

    /// The others act while the victim can't: a newcomer comes, a member leaves every second time.
    void act_without(const Member& victim) {
        if (was_killed && !now.in_real_time) {
            age_heartbeat(tolerance.count() - 1);
        }
        if (now.fate.meets_newcomer) {
            habits.attempts = now.in_real_time ? 9 : habits.attempts;
            newcomer.emplace("the newcomer", habits);
        }
        released = Clock::now();
        if (was_stopped) {
            if (!cast.members.empty() && (!newcomer || now.step % 2 == 0)) {
                cast.members.back().board->asked_to_leave = true;
            }
            wait_while_stopped();
            victim.process.signal(now.fate.release);
            released = Clock::now();
        }
        for (const Member& member : cast.members) {
            member.process.signal(SIGCONT);
        }
    }

    void wait_while_stopped() {
        if (!newcomer) {
            // It can't leave while the victim has the gate or sem_rw.
            wait_for(50ms,
                     [&] { return !cast.members.empty() && cast.members.back().board->left; });
            return;
        }
        wait_for(now.in_real_time ? tolerance + 6500ms : 400ms,
                 [this] { return newcomer->board->refused.load(); });
        shut_out = newcomer->board->retries;
        if (shut_out > (Clock::now() - released) / (tolerance + 5s)) {
            fail("a newcomer who met a stopped process was refused %d times", shut_out);
        }
    }

    void see_newcomer_attached() {
        newcomer->wait_until_attached();
        if (newcomer->board->retries > shut_out + 1) {
            fail("the newcomer was refused %d times", newcomer->board->retries - shut_out);
        }
        tally().clears += newcomer->board->answer == NUV_DIFFTIME_OUT ? 1 : 0;
        keep_slowest(released);
        cast.members.push_back(std::move(*newcomer));
    }

    /// A victim that lives on is a member like the others, or has left.
    void finish(Member victim) {
        if (was_killed || (was_stopped && now.fate.release == SIGKILL)) {
            ++cast.dead_and_counted;
        } else if (scene.phase == Phase::leave) {
            victim.leave();
        } else {
            victim.wait_until_attached();
            cast.members.push_back(std::move(victim));
        }
    }

    void see_one_region() const {
        for (const Member& member : cast.members) {
            if (!member.board->asked_to_leave && member.board->inode != region_inode()) {
                fail("a member is attached to a region without the name");
            }
        }
    }

    void see_free_semaphores() {
        for (Member& member : cast.members) {
            if (member.board->asked_to_leave) {
                member.leave();
            } else {
                member.board->asked_to_pause = false;
                member.wait_for_beats();
                member.pause();
            }
        }
        if (has_old_camera()) {
            fail("a clear that was cut short has left a camera in the list");
        }
        if (region_exists() && (sem_rw_value() != 1 || sem_update_value() != 1)) {
            fail("sem_rw is %d and sem_update is %d, with nobody at work", sem_rw_value(),
                 sem_update_value());
        }
    }

    /// All at once, or one after the other.
    void leave() {
        for (const Member& member : cast.members) {
            member.board->asked_to_leave = member.board->asked_to_leave || now.step % 2 == 0;
        }
        for (Member& member : cast.members) {
            see_one_region();
            member.leave();
        }
        see_region_gone("the case", cast.dead_and_counted);
    }

    const Case& now;
    const Scene& scene;
    Habits habits;
    bool was_stopped = false;
    bool was_killed = false;
    pid_t child = 0;
    Cast cast;
    std::optional<Member> newcomer;
    Clock::time_point released;
    int shut_out = 0;
};

}  // namespace

void run_steps(int all_in_real_time) {
    const bool in_real_time = all_in_real_time != 0;
    // Every step, or every sixth: different ones for each fate.
    const int stride = in_real_time ? 1 : 6;
    constexpr int lanes = 12;
    constexpr int fate_count = static_cast<int>(std::size(fates));
    const std::vector<Scene>& scenes = all_scenes();
    run_in_lanes(lanes, fate_count * static_cast<int>(scenes.size()), [&](int walk) {
        Case now{scenes[static_cast<std::size_t>(walk / fate_count)], fates[walk % fate_count],
                 1 + walk % stride, in_real_time};
        try {
            for (; Run(now).play(); now.step += stride) {
                std::remove(region_file);
            }
        } catch (const std::exception& violation) {
            fail("%s, %s before step %ld: %s", now.scene.name, now.fate.name, now.step,
                 violation.what());
        }
    });
    if (tally().hits < tally().cases / 2) {
        fail("the victims go on");
    }
}

}  // namespace robustness
