// Every step boundary: a victim is killed, or stopped, right before its n-th step.
#include "region_view.h"
#include "runs.h"
#include "scenes.h"

#include <nuv/result.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <optional>
#include <vector>

namespace robustness {
namespace {

/// The signal before the step, and the one that ends a stop.
struct Fate {
    const char* name;
    int signal;
    int release;
};

constexpr Fate fates[] = {{"killed", SIGKILL, 0},
                          {"stopped", SIGSTOP, SIGCONT},
                          {"stopped and killed", SIGSTOP, SIGKILL}};

struct Case {
    const Scene& scene;
    const Fate& fate;
    long step;
    /// A victim is stopped for longer than anybody waits for the gate, the tolerance plus five
    /// seconds, and a heartbeat grows old by waiting alone.
    bool in_real_time;
};

struct Tally {
    std::atomic<int> cases{0};
    std::atomic<int> hits{0};
    std::atomic<int> retries{0};
    std::atomic<int> clears{0};
    std::atomic<int> shut_out{0};
    std::atomic<long> slowest{0};
};

Plan plan_for(const Scene& scene, long step, int signal) {
    return {scene.phase, step, signal, scene.from_line, scene.phase == Phase::update};
}

class Run {
public:
    Run(const Case& the_case, Tally& the_tally)
        : now(the_case), scene(now.scene), tally(the_tally) {}

    void play() {
        scene.prepare(cast);
        Member victim("the victim", plan_for(scene, now.step, now.fate.signal));
        bring_to_its_step(victim);
        was_stopped = victim.process.is_stopped();
        was_killed = victim.process.has_ended() && victim.process.wait() == -SIGKILL;
        ++tally.cases;
        tally.hits += was_stopped || was_killed ? 1 : 0;
        act_without(victim);
        for (const Member& member : cast.members) {
            member.process.signal(SIGCONT);
        }
        see_newcomer_attached();
        finish(std::move(victim));
        check_one_region();
        check_semaphores();
        leave();
    }

private:
    /// Returns when the victim is dead, stopped, or through its steps alive.
    void bring_to_its_step(Member& victim) const {
        constexpr milliseconds bound = attach_bound + machine_slack;
        const auto out_of_step = [&] {
            return victim.process.is_stopped() || victim.process.has_ended() ||
                   victim.board->left || victim.board->refused;
        };
        if (!wait_for(bound, [&] { return out_of_step() || victim.board->attached; })) {
            fail("the victim hangs");
        }
        if (scene.phase == Phase::leave) {
            victim.board->asked_to_leave = true;
            wait_for(bound, out_of_step);
        } else if (scene.phase != Phase::attach) {
            wait_for(scene.longest, out_of_step);
        }
    }

    /// The others act while the victim can't; every second time a member leaves meanwhile.
    void act_without(const Member& victim) {
        if (was_killed && !now.in_real_time) {
            age_heartbeat(tolerance.count() - 1);
        }
        newcomer.emplace("the newcomer", Plan{Phase::none, 0, 0, "", scene.phase == Phase::update,
                                              now.in_real_time ? 9 : 2});
        released = Clock::now();
        if (!was_stopped) {
            return;
        }
        if (now.step % 2 == 0 && !cast.members.empty()) {
            cast.members.back().board->asked_to_leave = true;
        }
        wait_for(now.in_real_time ? tolerance + 6500ms : 400ms,
                 [this] { return newcomer->board->refused.load(); });
        shut_out = newcomer->board->retries;
        if (shut_out > (Clock::now() - released) / (tolerance + 5s)) {
            fail("a newcomer who met a stopped process was refused %d times", shut_out);
        }
        tally.shut_out += shut_out;
        victim.process.signal(now.fate.release);
        released = Clock::now();
    }

    void see_newcomer_attached() {
        newcomer->wait_until_attached(attach_bound + machine_slack);
        const int retries = newcomer->board->retries - shut_out;
        if (retries > 1) {
            fail("the newcomer was refused %d times", retries);
        }
        tally.retries += retries;
        tally.clears += newcomer->board->answer == NUV_DIFFTIME_OUT ? 1 : 0;
        keep_slowest(tally.slowest, released);
        cast.members.push_back(std::move(*newcomer));
    }

    /// A victim that lives on is a member like the others, or has left.
    void finish(Member victim) {
        if (was_killed || (was_stopped && now.fate.release == SIGKILL)) {
            ++cast.dead_and_counted;
        } else if (scene.phase == Phase::leave) {
            victim.leave();
        } else {
            victim.wait_until_attached(attach_bound + machine_slack);
            cast.members.push_back(std::move(victim));
        }
    }

    void check_one_region() const {
        for (const Member& member : cast.members) {
            if (member.board->attached && member.board->inode != region_inode()) {
                fail("a member is attached to another region than the newcomer");
            }
        }
        if (has_old_camera()) {
            fail("a clear that was cut short has left a camera in the list");
        }
    }

    void check_semaphores() {
        for (Member& member : cast.members) {
            if (member.board->asked_to_leave) {
                member.leave();
            } else {
                member.wait_for_heartbeats(2);
            }
        }
        for (Member& member : cast.members) {
            if (member.board->attached) {
                member.pause();
            }
        }
        if (sem_rw_value() != 1 || sem_update_value() != 1) {
            fail("sem_rw is %d and sem_update is %d, with nobody at work", sem_rw_value(),
                 sem_update_value());
        }
    }

    void leave() {
        for (const Member& member : cast.members) {
            member.board->asked_to_leave = true;
        }
        for (Member& member : cast.members) {
            member.leave();
        }
        const int count = region_bytes().opencount;
        if (region_exists() && (count < 1 || count > cast.dead_and_counted)) {
            fail("all have left, %d died, and the region is still there with a count of %d",
                 cast.dead_and_counted, count);
        }
        see_next_one_clear_and_remove();
    }

    const Case& now;
    const Scene& scene;
    Tally& tally;
    bool was_stopped = false;
    bool was_killed = false;
    Cast cast;
    std::optional<Member> newcomer;
    Clock::time_point released;
    int shut_out = 0;
};

/// How many steps a scene has when nothing happens to its victim.
long count_steps(const Scene& scene) {
    const Shared<std::atomic<long>> steps;
    const bool done = run_in_lanes(1, 1, [&](int) {
        Cast cast;
        scene.prepare(cast);
        for (const Member& member : cast.members) {
            member.process.signal(SIGCONT);
        }
        constexpr long never = 1'000'000;
        Member victim(scene.name, plan_for(scene, never, SIGKILL));
        victim.wait_until_attached(attach_bound + machine_slack);
        victim.wait_for_heartbeats(2);
        victim.leave();
        *steps = victim.board->steps.load();
    });
    if (!done || *steps < 2) {
        fail("%s: the steps can't be counted", scene.name);
    }
    return *steps;
}

/// Every step, or every sixth: different ones for each fate.
std::vector<Case> all_cases(bool in_real_time) {
    const long stride = in_real_time ? 1 : 6;
    std::vector<Case> cases;
    long offset = 0;
    for (const Scene& scene : all_scenes()) {
        const long steps = count_steps(scene);
        std::printf("%s: %ld steps\n", scene.name, steps);
        for (const Fate& fate : fates) {
            for (long step = 1 + offset++ % stride; step <= steps + 1; step += stride) {
                cases.push_back({scene, fate, step, in_real_time});
            }
        }
    }
    return cases;
}

}  // namespace

bool run_steps(int all_in_real_time) {
    const Shared<Tally> tally;
    const std::vector<Case> cases = all_cases(all_in_real_time != 0);
    constexpr int lanes = 12;
    const bool well = run_in_lanes(lanes, static_cast<int>(cases.size()), [&](int number) {
        const Case& now = cases[static_cast<std::size_t>(number)];
        try {
            Run(now, *tally).play();
        } catch (const std::exception& violation) {
            fail("%s, %s before step %ld: %s", now.scene.name, now.fate.name, now.step,
                 violation.what());
        }
    });
    std::printf(
        "steps: %d cases, %d of them hit, %d retries, %d clears, %d shut out for good, "
        "slowest attach %ld ms\n",
        tally->cases.load(), tally->hits.load(), tally->retries.load(), tally->clears.load(),
        tally->shut_out.load(), tally->slowest.load());
    return well && tally->hits > tally->cases / 2;
}

}  // namespace robustness
