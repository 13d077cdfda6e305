// Two that leave together: one is stopped before any step of its leaving, the other leaves
// meanwhile. Whichever is the last removes the region.
#include "region_view.h"
#include "roles.h"
#include "runs.h"

#include <csignal>
#include <cstdio>

namespace robustness {
namespace {

/// \return whether there was such a step
bool leave_together(long step) {
    Member other;
    other.wait_until_attached();
    Plan plan;
    plan.phase = Phase::leave;
    plan.step = step;
    plan.signal = SIGSTOP;
    Member victim("the victim", plan);
    victim.wait_until_attached();
    victim.board->asked_to_leave = true;
    wait_for(attach_bound, [&] { return victim.board->left || victim.process.is_stopped(); });
    const bool stopped = victim.process.is_stopped();
    other.board->asked_to_leave = true;
    // It can't while the victim has the gate or sem_rw.
    wait_for(50ms, [&] { return other.board->left.load(); });
    victim.process.signal(SIGCONT);
    victim.leave();
    other.leave();
    if (region_exists()) {
        fail(
            "leaving: both have left, one of them stopped before step %ld, and the region is "
            "there with a count of %d",
            step, region_bytes().opencount);
    }
    return stopped;
}

}  // namespace

bool run_leaving(int rounds) {
    const Shared<std::atomic<int>> cases;
    const bool well = run_in_lanes(2, rounds, [&](int) {
        for (long step = 1; leave_together(step); ++step) {
            ++*cases;
        }
    });
    std::printf("leaving: %d steps\n", cases->load());
    return well;
}

}  // namespace robustness
