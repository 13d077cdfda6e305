// A clear that hits managers which were only slow: whatever the order in which all leave, the
// region has its name until the last one goes.
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

void play_round(int round) {
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
    if (region_exists()) {
        fail("slow: all have left, and the region is there with a count of %d",
             region_bytes().opencount);
    }
}

}  // namespace

bool run_slow(int rounds) {
    const bool well = run_in_lanes(4, rounds, play_round);
    std::printf("slow: %d clears under living managers\n", rounds);
    return well;
}

}  // namespace robustness
