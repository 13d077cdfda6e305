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
namespace {

struct Stops {
    std::chrono::microseconds slowest{0};
    int late = 0;
};

/// `pass` is how long a scan takes, which a stop may meet.
Stops stop_often(CNuv_device_manager& manager, int count, milliseconds pass) {
    std::mt19937 random(std::random_device{}());
    std::uniform_int_distribution<int> moment(0, 20000);
    Stops stops;
    for (int round = 0; round < count; ++round) {
        // Every second time, a notification that comes in the first milliseconds meets no waiter.
        delay_condition_waits(milliseconds(round % 2 == 0 ? 0 : 5));
        manager.start_scan_thread();
        manager.start_time_thread();
        std::this_thread::sleep_for(std::chrono::microseconds(moment(random)));
        const auto start = Clock::now();
        manager.stop_threads();
        const auto took =
            std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start) - pass;
        stops.slowest = std::max(stops.slowest, took);
        stops.late += took > milliseconds(50) ? 1 : 0;
    }
    return stops;
}

}  // namespace

bool run_stopping(int rounds) {
    constexpr int in_a_test = 250;
    const int count = rounds > 0 ? rounds : in_a_test;
    // A thread that nobody wakes ends after a second, or an hour.
    const milliseconds longest(rounds > 0 ? 500 : 5000);
    nuv_test::write_ini("nuv_devicemgr", "[OPTIONS]\nScan=0\nScantime=3600000\n");
    CNuv_device_manager manager;
    if (manager.Initialize() != NUV_NOERROR || manager.scantime != 3600000) {
        fail("stopping: the manager does not start");
    }
    manager.stop_threads();
    bool well = true;
    for (const milliseconds pass : {milliseconds(0), milliseconds(100)}) {
        nuv_test::write_ini("nuv_cameras",
                            "[backend USB3]\nscan_delay_ms=" + std::to_string(pass.count()) + "\n");
        const Stops stops = stop_often(manager, pass.count() == 0 ? count : count / 10, pass);
        std::printf("stopping: scans of %ld ms, slowest stop %ld us after that, %d over 50 ms\n",
                    static_cast<long>(pass.count()), static_cast<long>(stops.slowest.count()),
                    stops.late);
        well = well && stops.slowest < longest;
    }
    return well;
}

}  // namespace robustness
