// Two that leave together: one is stopped before any step of its leaving, the other leaves
// meanwhile. Whichever is the last removes the region.
#include "region_view.h"
#include "roles.h"
#include "runs.h"
#include "worlds.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace robustness {
namespace {

/// \return whether there was such a step
bool leave_together(long step) {
    remove_region_file();
    Member other;
    other.wait_until_attached(attach_bound, "a member");
    Plan plan;
    plan.phase = Plan::Phase::leave;
    plan.step = step;
    plan.action = [] { kill(getpid(), SIGSTOP); };
    Member victim(plan);
    victim.wait_until_attached(attach_bound, "the victim");
    victim.ask_to_leave();
    wait_for(attach_bound,
             [&] { return victim.has_left() || victim.process.look() == Process::State::stopped; });
    const bool stopped = victim.process.look() == Process::State::stopped;
    other.ask_to_leave();
    // It can't while the victim has the gate or sem_rw.
    wait_for(milliseconds(50), [&] { return other.has_left(); });
    victim.process.signal(SIGCONT);
    victim.wait_until_left("the victim");
    other.wait_until_left("a member");
    if (region_exists()) {
        fail(
            "leaving: both have left, one of them stopped before step %ld, and the region is "
            "there with a count of %d",
            step, region_opencount());
    }
    return stopped;
}

}  // namespace

bool run_leaving(int rounds) {
    const Shared<std::atomic<int>> cases;
    const bool well = run_in_lanes(2, rounds > 0 ? rounds : 2, [&](int) {
        for (long step = 1; leave_together(step); ++step) {
            ++*cases;
        }
    });
    std::printf("leaving: %d steps\n", cases->load());
    return well;
}

}  // namespace robustness
