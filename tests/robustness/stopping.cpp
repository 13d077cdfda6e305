// Stopping the threads at any moment, with a scan period of an hour.
#include "process.h"
#include "runs.h"
#include "step_calls.h"
#include "support/private_world.h"

#include <nuv/device_manager.h>
#include <nuv/result.h>

#include <algorithm>
#include <cstdio>
#include <random>

namespace robustness {

bool run_stopping(int rounds) {
    constexpr int in_a_test = 250;
    const int count = rounds > 0 ? rounds : in_a_test;
    nuv_test::write_ini("nuv_devicemgr", "[OPTIONS]\nScan=0\nScantime=3600000\n");
    CNuv_device_manager manager;
    if (manager.Initialize() != NUV_NOERROR || manager.scantime != 3600000) {
        fail("stopping: the manager does not start");
    }
    manager.stop_threads();

    std::mt19937 random(std::random_device{}());
    std::uniform_int_distribution<int> moment(0, 20000);
    std::chrono::microseconds slowest{0};
    int late = 0;
    for (int round = 0; round < count; ++round) {
        // Every second time, a notification that comes in the first milliseconds meets no waiter.
        delay_condition_waits(milliseconds(round % 2 == 0 ? 0 : 5));
        manager.start_scan_thread();
        manager.start_time_thread();
        std::this_thread::sleep_for(std::chrono::microseconds(moment(random)));
        const auto start = Clock::now();
        manager.stop_threads();
        const auto took =
            std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
        slowest = std::max(slowest, took);
        late += took > milliseconds(50) ? 1 : 0;
        if (took > std::chrono::seconds(5)) {
            fail("stopping: stop_threads took %ld ms", static_cast<long>(took / milliseconds(1)));
        }
    }
    std::printf("stopping: %d stops, slowest %ld us, %d over 50 ms\n", count,
                static_cast<long>(slowest.count()), late);
    return true;
}

}  // namespace robustness
