// Stopping the threads at any moment, with a scan period of an hour.
#include "processes.h"
#include "runs.h"
#include "step_calls.h"
#include "support/private_world.h"

#include <nuv/device_manager.h>
#include <nuv/result.h>

#include <algorithm>
#include <cstdio>
#include <random>

namespace robustness {
namespace {

using std::chrono::microseconds;

/// `pass` is how long a scan takes, which a stop may meet.
/// \return the slowest stop, beyond the pass
microseconds stop_often(CNuv_device_manager& manager, int count, milliseconds pass) {
    std::mt19937 random(std::random_device{}());
    std::uniform_int_distribution<int> moment(0, 20000);
    microseconds slowest(0);
    int late = 0;
    for (int round = 0; round < count; ++round) {
        // Every second time, a notification that comes in the first milliseconds meets no waiter.
        delay_condition_waits(milliseconds(round % 2 == 0 ? 0 : 5));
        manager.start_scan_thread();
        manager.start_time_thread();
        std::this_thread::sleep_for(microseconds(moment(random)));
        const auto start = Clock::now();
        manager.stop_threads();
        const auto took = std::chrono::duration_cast<microseconds>(Clock::now() - start - pass);
        slowest = std::max(slowest, took);
        late += took > 50ms ? 1 : 0;
    }
    std::printf("stopping: scans of %ld ms, slowest stop %ld us after that, %d over 50 ms\n",
                static_cast<long>(pass.count()), static_cast<long>(slowest.count()), late);
    return slowest;
}

}  // namespace

bool run_stopping(int rounds) {
    // A thread that nobody wakes ends after a second, or an hour. A test shares the machine.
    const milliseconds longest = rounds < 1000 ? 5000ms : 500ms;
    nuv_test::write_ini("nuv_devicemgr", "[OPTIONS]\nScan=0\nScantime=3600000\n");
    CNuv_device_manager manager;
    if (manager.Initialize() != NUV_NOERROR || manager.scantime != 3600000) {
        fail("stopping: the manager does not start");
    }
    manager.stop_threads();
    bool well = true;
    for (const milliseconds pass : {0ms, 100ms}) {
        nuv_test::write_ini("nuv_cameras",
                            "[backend USB3]\nscan_delay_ms=" + std::to_string(pass.count()) + "\n");
        well = stop_often(manager, pass == 0ms ? rounds : rounds / 10, pass) < longest && well;
    }
    return well;
}

}  // namespace robustness
