// Many processes that start at the same moment.
#include "region_view.h"
#include "roles.h"
#include "runs.h"
#include "worlds.h"

#include <nuv/result.h>

#include <cstdio>
#include <vector>

namespace robustness {
namespace {

constexpr int crowd = 32;

struct Gathering {
    std::atomic<int> ready{0};
    std::atomic<bool> go{false};
    std::atomic<int> attached{0};
    std::atomic<ino_t> inode{0};
};

/// \param meets whether it stays until all the others are attached as well
int attach_with_the_others(Gathering& gathering, bool meets) {
    const auto manager = make_manager();
    ++gathering.ready;
    while (!gathering.go) {
        std::this_thread::yield();
    }
    const unsigned int result = manager->Initialize();
    if (result != NUV_NOERROR) {
        fail("stampede: Initialize answers 0x%x", result);
    }
    if (!is_the_named_region(manager->m_hMem)) {
        fail("stampede: attached to a region without the name");
    }
    const ino_t mine = inode_of(manager->m_hMem);
    ino_t first = 0;
    const bool is_first = gathering.inode.compare_exchange_strong(first, mine);
    if (meets && !is_first && first != mine) {
        fail("stampede: two regions");
    }
    ++gathering.attached;
    if (meets &&
        !wait_for(attach_bound + machine_slack, [&] { return gathering.attached == crowd; })) {
        fail("stampede: only %d of %d are attached", gathering.attached.load(), crowd);
    }
    if (meets && region_opencount() > crowd) {
        fail("stampede: a count of %d", region_opencount());
    }
    manager->close_shm();
    return 0;
}

void play_round(int round) {
    const Shared<Gathering> gathering;
    std::vector<Process> processes;
    for (int process = 0; process < crowd; ++process) {
        processes.emplace_back([&] { return attach_with_the_others(*gathering, round % 2 == 0); });
    }
    wait_for(machine_slack, [&] { return gathering->ready == crowd; });
    gathering->go = true;
    for (Process& process : processes) {
        if (!process.wait_until_ended(2 * attach_bound) || process.result() != 0) {
            fail("stampede, round %d: a process %s", round,
                 process.look() == Process::State::ended ? "has failed" : "hangs");
        }
    }
    if (region_exists()) {
        fail("stampede, round %d: the region is still there with a count of %d", round,
             region_opencount());
    }
}

}  // namespace

bool run_stampede(int rounds) {
    constexpr int in_a_test = 30;
    const int count = rounds > 0 ? rounds : in_a_test;
    const bool well = run_in_lanes(2, count, play_round);
    std::printf("stampede: %d rounds of %d processes\n", count, crowd);
    return well;
}

}  // namespace robustness
