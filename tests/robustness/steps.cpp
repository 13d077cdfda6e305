// Every step boundary: a victim is killed, or stopped, right before its n-th step.
#include "region_view.h"
#include "runs.h"
#include "scenes.h"
#include "step_calls.h"
#include "worlds.h"

#include <nuv/result.h>

#include <csignal>
#include <cstdio>
#include <optional>
#include <vector>

namespace robustness {
namespace {

enum class Fate { killed, stopped, stopped_and_killed };

struct Settings {
    milliseconds stop{400};  ///< how long a victim is stopped
    long stride = 1;         ///< every how manieth step
    bool shuts_out = false;  ///< whether that is longer than a newcomer waits for the gate
    bool real_time = false;  ///< whether a heartbeat grows old by waiting alone
};

struct Tally {
    std::atomic<int> cases{0};
    std::atomic<int> hits{0};
    std::atomic<int> retries{0};
    std::atomic<int> clears{0};
    std::atomic<int> shut_out{0};
    std::atomic<long> slowest{0};
};

struct Case {
    const Scene* scene;
    Fate fate;
    long step;
};

const char* name_of(Fate fate) {
    switch (fate) {
        case Fate::killed:
            return "killed";
        case Fate::stopped:
            return "stopped";
        case Fate::stopped_and_killed:
            break;
    }
    return "stopped and killed";
}

Plan plan_for(const Scene& scene, long step, int signal) {
    Plan plan;
    plan.phase = scene.phase;
    plan.step = step;
    plan.action = [signal] { kill(getpid(), signal); };
    plan.from_line = scene.from_line;
    plan.uses_update = scene.phase == Plan::Phase::update;
    return plan;
}

class Run {
public:
    Run(const Case& the_case, const Settings& the_settings, Tally& the_tally)
        : scene(*the_case.scene),
          fate(the_case.fate),
          settings(the_settings),
          tally(the_tally),
          victim_step(the_case.step) {}

    void play() {
        remove_region_file();
        scene.prepare(cast);
        Member victim(plan_for(scene, victim_step, fate == Fate::killed ? SIGKILL : SIGSTOP));
        bring_to_its_step(victim);
        ++tally.cases;
        was_stopped = victim.process.look() == Process::State::stopped;
        if (was_stopped || victim.process.was_killed()) {
            ++tally.hits;
        }
        act_without(victim);
        for (Member& member : cast.members) {
            member.process.signal(SIGCONT);
        }
        see_newcomer_attached();
        finish(victim);
        check_one_region();
        check_semaphores();
        leave();
    }

private:
    /// Returns when the victim is dead, stopped, or through its steps alive.
    void bring_to_its_step(Member& victim) {
        const auto out_of_step = [&] {
            return victim.process.look() != Process::State::running || victim.has_left() ||
                   victim.is_refused();
        };
        const bool in_its_phase = wait_for(attach_bound + machine_slack,
                                           [&] { return out_of_step() || victim.is_attached(); });
        if (!in_its_phase) {
            fail("the victim hangs");
        }
        if (scene.phase == Plan::Phase::leave && victim.is_attached()) {
            victim.ask_to_leave();
            wait_for(attach_bound + machine_slack, out_of_step);
        } else if (scene.phase != Plan::Phase::attach) {
            wait_for(scene.longest, out_of_step);
        }
    }

    /// The others act while the victim can't; every second time a member leaves meanwhile.
    void act_without(Member& victim) {
        if (victim.process.look() == Process::State::ended && victim.process.was_killed() &&
            !settings.real_time) {
            age_heartbeat(tolerance.count() - 1);
        }
        Plan plan;
        plan.uses_update = scene.phase == Plan::Phase::update;
        plan.attempts = settings.shuts_out ? 9 : 2;
        newcomer.emplace(plan);
        released = Clock::now();
        if (!was_stopped) {
            return;
        }
        if (victim_step % 2 == 0 && !cast.members.empty()) {
            cast.members.back().ask_to_leave();
        }
        wait_for(settings.stop, [this] { return newcomer->is_refused(); });
        shut_out = newcomer->retries();
        constexpr milliseconds wait_for_the_gate = tolerance + std::chrono::seconds(5);
        if (shut_out > (Clock::now() - released) / wait_for_the_gate) {
            fail("a newcomer who met a stopped process was refused %d times", shut_out);
        }
        tally.shut_out += shut_out;
        victim.process.signal(fate == Fate::stopped ? SIGCONT : SIGKILL);
        released = Clock::now();
    }

    void see_newcomer_attached() {
        newcomer->wait_until_attached(attach_bound + machine_slack, "the newcomer");
        const int retries = newcomer->retries() - shut_out;
        if (retries > 1) {
            fail("the newcomer was refused %d times", retries);
        }
        tally.retries += retries;
        tally.clears += newcomer->answer() == NUV_DIFFTIME_OUT ? 1 : 0;
        keep_slowest(tally.slowest, milliseconds_since(released));
        cast.members.push_back(std::move(*newcomer));
    }

    /// A victim that lives on is a member like the others, or has left.
    void finish(Member& victim) {
        if (fate == Fate::stopped_and_killed && was_stopped) {
            victim.process.kill();
        }
        if (victim.process.look() == Process::State::ended && victim.process.was_killed()) {
            ++cast.dead_and_counted;
            return;
        }
        if (scene.phase == Plan::Phase::leave) {
            victim.wait_until_left("the victim");
            return;
        }
        victim.wait_until_attached(attach_bound + machine_slack, "the victim");
        cast.members.push_back(std::move(victim));
    }

    void check_one_region() {
        for (Member& member : cast.members) {
            if (member.is_attached() && member.inode() != region_inode()) {
                fail("a member is attached to another region than the newcomer");
            }
        }
        if (has_old_camera()) {
            fail("a clear that was cut short has left a camera in the list");
        }
    }

    void check_semaphores() {
        for (Member& member : cast.members) {
            if (member.is_asked_to_leave()) {
                member.wait_until_left("a member that leaves");
            } else {
                member.wait_for_heartbeats(2, "a member");
            }
        }
        for (Member& member : cast.members) {
            if (member.is_attached()) {
                member.pause("a member");
            }
        }
        if (sem_rw_value() != 1 || sem_update_value() != 1) {
            fail("sem_rw is %d and sem_update is %d, with nobody at work", sem_rw_value(),
                 sem_update_value());
        }
    }

    void leave() {
        for (Member& member : cast.members) {
            member.ask_to_leave();
        }
        for (Member& member : cast.members) {
            member.wait_until_left("a member");
        }
        if (!region_exists()) {
            return;
        }
        if (region_opencount() < 1 || region_opencount() > cast.dead_and_counted) {
            fail("all have left, %d died, and the region is still there with a count of %d",
                 cast.dead_and_counted, region_opencount());
        }
        make_stale();
        Member last;
        last.wait_until_attached(attach_bound, "who comes last");
        if (last.answer() != NUV_DIFFTIME_OUT) {
            fail("who attaches to the stale region is answered 0x%x", last.answer());
        }
        last.wait_until_left("who comes last");
        if (region_exists()) {
            fail("the last one to leave has left the region behind");
        }
    }

    const Scene& scene;
    const Fate fate;
    const Settings settings;
    Tally& tally;
    const long victim_step;
    bool was_stopped = false;
    Cast cast;
    std::optional<Member> newcomer;
    Clock::time_point released;
    int shut_out = 0;
};

/// How many steps a scene has when nothing happens to its victim.
long count_steps(const Scene& scene) {
    long steps = 0;
    const Shared<std::atomic<long>> counted;
    const bool done = run_in_lanes(1, 1, [&](int) {
        Cast cast;
        scene.prepare(cast);
        for (Member& member : cast.members) {
            member.process.signal(SIGCONT);
        }
        constexpr long never = 1'000'000;
        Member victim(plan_for(scene, never, SIGKILL));
        victim.wait_until_attached(attach_bound + machine_slack, scene.name);
        victim.wait_for_heartbeats(2, scene.name);
        victim.wait_until_left(scene.name);
        *counted = victim.steps();
    });
    steps = *counted;
    if (!done || steps < 2) {
        fail("%s: the steps can't be counted", scene.name);
    }
    return steps;
}

std::vector<Case> all_cases(long stride) {
    std::vector<Case> cases;
    long offset = 0;
    for (const Scene& scene : all_scenes()) {
        const long steps = count_steps(scene);
        std::printf("%s: %ld steps\n", scene.name, steps);
        for (const Fate fate : {Fate::killed, Fate::stopped, Fate::stopped_and_killed}) {
            // Different steps in each, where not all are taken.
            for (long step = 1 + offset++ % stride; step <= steps + 1; step += stride) {
                cases.push_back({&scene, fate, step});
            }
        }
    }
    return cases;
}

bool play_all(const Settings& settings) {
    const Shared<Tally> tally;
    const std::vector<Case> cases = all_cases(settings.stride);
    constexpr int lanes = 12;
    const bool well = run_in_lanes(lanes, static_cast<int>(cases.size()), [&](int number) {
        const Case& the_case = cases[static_cast<std::size_t>(number)];
        try {
            Run(the_case, settings, *tally).play();
        } catch (const Violation& violation) {
            fail("%s, %s before step %ld: %s", the_case.scene->name, name_of(the_case.fate),
                 the_case.step, violation.what());
        }
    });
    std::printf(
        "steps: %d cases, %d of them hit, %d retries, %d clears, %d shut out for good, "
        "slowest attach %ld ms\n",
        tally->cases.load(), tally->hits.load(), tally->retries.load(), tally->clears.load(),
        tally->shut_out.load(), tally->slowest.load());
    return well && tally->hits > tally->cases / 2;
}

}  // namespace

bool run_steps(int longest) {
    Settings settings;
    if (longest == 0) {
        constexpr long few = 6;
        settings.stride = few;
        return play_all(settings);
    }
    // Longer than anybody waits for the gate: the tolerance plus five seconds.
    settings.stop = tolerance + std::chrono::milliseconds(6500);
    settings.shuts_out = true;
    settings.real_time = true;
    return play_all(settings);
}

}  // namespace robustness
