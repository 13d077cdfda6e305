// Whatever the order in which all leave, the region has its name until the last one goes, and not
// longer.
#include "region_view.h"
#include "roles.h"
#include "runs.h"

#include <nuv/result.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <iterator>
#include <random>
#include <vector>

namespace robustness {
namespace {

std::vector<Member> attach_some(int count, const char* who) {
    std::vector<Member> members;
    for (int member = 0; member < count; ++member) {
        members.emplace_back(who).wait_until_attached(attach_bound + machine_slack);
    }
    return members;
}

/// A clear that hits managers which were only slow.
void clear_under_slow_members(int round) {
    std::mt19937 random(static_cast<unsigned int>(round));
    std::vector<Member> members = attach_some(1 + round % 3, "a slow member");
    for (Member& slow : members) {
        slow.stop();
    }
    age_heartbeat();
    std::vector<Member> newcomers = attach_some(1 + round / 3 % 3, "a newcomer");
    if (const unsigned int answer = newcomers.front().board->answer; answer != NUV_DIFFTIME_OUT) {
        fail("slow: the first newcomer is answered 0x%x", answer);
    }
    for (const Member& slow : members) {
        slow.process.signal(SIGCONT);
    }
    std::move(newcomers.begin(), newcomers.end(), std::back_inserter(members));
    std::shuffle(members.begin(), members.end(), random);
    while (!members.empty()) {
        for (const Member& member : members) {
            if (!member.board->asked_to_leave && member.board->inode != region_inode()) {
                fail("slow: a member has lost its region");
            }
        }
        // Sometimes two at the same moment.
        if (members.size() > 1 && round % 2 == 0) {
            members.front().board->asked_to_leave = true;
        }
        members.back().leave();
        members.pop_back();
    }
    see_region_gone("slow");
}

/// One of two is stopped before a step of its leaving, the other leaves meanwhile.
/// \return whether there was such a step
bool leave_together(long step) {
    Member other;
    other.wait_until_attached();
    Member victim("the victim", {Phase::leave, step, SIGSTOP});
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
    see_region_gone("leaving, one stopped before step " + std::to_string(step));
    return stopped;
}

}  // namespace

bool run_slow(int rounds) {
    const bool well = run_in_lanes(4, rounds, clear_under_slow_members);
    std::printf("slow: %d clears under living managers\n", rounds);
    return well;
}

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
