// A clear that hits managers which were only slow: whatever the order in which all leave, the
// region has its name until the last one goes.
#include "region_view.h"
#include "roles.h"
#include "runs.h"
#include "worlds.h"

#include <nuv/result.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <random>
#include <vector>

namespace robustness {
namespace {

std::vector<Member> attach_some(int count, const char* who) {
    std::vector<Member> members;
    for (int member = 0; member < count; ++member) {
        members.emplace_back();
        members.back().wait_until_attached(attach_bound + machine_slack, who);
    }
    return members;
}

void play_round(int round) {
    std::mt19937 random(static_cast<unsigned int>(round));
    remove_region_file();
    std::vector<Member> members = attach_some(1 + round % 3, "a slow member");
    for (Member& slow : members) {
        slow.pause("a slow member");
        slow.process.signal(SIGSTOP);
        slow.process.wait_until_stopped_or_ended(machine_slack);
    }
    make_stale();
    std::vector<Member> newcomers = attach_some(1 + round / 3 % 3, "a newcomer");
    if (newcomers.front().answer() != NUV_DIFFTIME_OUT) {
        fail("slow: the first newcomer is answered 0x%x", newcomers.front().answer());
    }
    for (Member& slow : members) {
        slow.process.signal(SIGCONT);
    }
    for (Member& newcomer : newcomers) {
        members.push_back(std::move(newcomer));
    }
    std::shuffle(members.begin(), members.end(), random);
    while (!members.empty()) {
        for (Member& member : members) {
            if (!member.is_asked_to_leave() && member.inode() != region_inode()) {
                fail("slow: a member has lost its region");
            }
        }
        // Sometimes two at the same moment.
        if (members.size() > 1 && round % 2 == 0) {
            members.front().ask_to_leave();
        }
        members.back().wait_until_left("a member");
        members.pop_back();
    }
    if (region_exists()) {
        fail("slow: all have left, and the region is there with a count of %d", region_opencount());
    }
}

}  // namespace

bool run_slow(int rounds) {
    constexpr int in_a_test = 60;
    const int count = rounds > 0 ? rounds : in_a_test;
    const bool well = run_in_lanes(4, count, play_round);
    std::printf("slow: %d clears under living managers\n", count);
    return well;
}

}  // namespace robustness
