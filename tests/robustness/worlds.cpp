#include "worlds.h"

#include "process.h"

#include <sched.h>
#include <sys/mount.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <vector>

namespace robustness {

void enter_own_shm() {
    // The source's name is what tells a private /dev/shm from the machine's, see
    // tests/support/private_world.cpp.
    if (unshare(CLONE_NEWNS) != 0 ||
        mount("nuv_test", "/dev/shm", "tmpfs", MS_NOSUID | MS_NODEV, "mode=1777") != 0) {
        fail("no /dev/shm of its own: %s", std::strerror(errno));
    }
}

bool run_in_lanes(int lanes, int count, const std::function<void(int number)>& run) {
    const Shared<std::atomic<int>> next;
    std::vector<Process> processes;
    for (int lane = 0; lane < std::min(lanes, count); ++lane) {
        processes.emplace_back([&] {
            enter_own_shm();
            for (int number = (*next)++; number < count; number = (*next)++) {
                run(number);
            }
            return 0;
        });
    }
    bool all_well = true;
    while (!processes.empty() && all_well) {
        const auto ended = std::find_if(processes.begin(), processes.end(), [](Process& process) {
            return process.look() == Process::State::ended;
        });
        if (ended == processes.end()) {
            std::this_thread::sleep_for(milliseconds(2));
            continue;
        }
        all_well = ended->result() == 0;
        processes.erase(ended);
    }
    return all_well;
}

}  // namespace robustness
