// Many processes that start at the same moment.
#include "region_view.h"
#include "roles.h"
#include "runs.h"

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
void attach_with_the_others(Gathering& gathering, bool meets) {
    const auto manager = make_manager();
    ++gathering.ready;
    while (!gathering.go) {
        std::this_thread::yield();
    }
    const unsigned int result = manager->Initialize();
    if (result != NUV_NOERROR) {
        fail("stampede: Initialize answers 0x%x", result);
    }
    const ino_t mine = inode_of(manager->m_hMem);
    if (mine != region_inode()) {
        fail("stampede: attached to a region without the name");
    }
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
    if (const int count = region_bytes().opencount; meets && count > crowd) {
        fail("stampede: a count of %d", count);
    }
    manager->close_shm();
}

void play_round(int round) {
    const Shared<Gathering> gathering;
    std::vector<Process> processes;
    for (int process = 0; process < crowd; ++process) {
        processes.emplace_back([&] { attach_with_the_others(*gathering, round % 2 == 0); });
    }
    wait_for(machine_slack, [&] { return gathering->ready == crowd; });
    gathering->go = true;
    for (Process& process : processes) {
        if (!ends_well(process, 2 * attach_bound)) {
            fail("stampede, round %d: a process %s", round,
                 process.has_ended() ? "has failed" : "hangs");
        }
    }
    see_region_gone("stampede, round " + std::to_string(round));
}

}  // namespace

bool run_stampede(int rounds) {
    const bool well = run_in_lanes(2, rounds, play_round);
    std::printf("stampede: %d rounds of %d processes\n", rounds, crowd);
    return well;
}

}  // namespace robustness
