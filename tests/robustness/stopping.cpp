// Stopping the threads at any moment, with a scan period of an hour.
#include "processes.h"
#include "runs.h"
#include "step_calls.h"
#include "support/private_world.h"

#include <nuv/device_manager.h>
#include <nuv/result.h>

#include <random>

namespace robustness {
namespace {

/// `pass` is how long a scan takes, which a stop may meet.
void stop_often(CNuv_device_manager& manager, int count, milliseconds pass) {
    std::mt19937 random(std::random_device{}());
    std::uniform_int_distribution<int> moment(0, 20000);
    for (int round = 0; round < count; ++round) {
        // Every second time, a notification that comes in the first milliseconds meets no waiter.
        delay_condition_waits(milliseconds(round % 2 == 0 ? 0 : 5));
        manager.start_scan_thread();
        manager.start_time_thread();
        std::this_thread::sleep_for(std::chrono::microseconds(moment(random)));
        const auto start = Clock::now();
        manager.stop_threads();
        keep_slowest(start + pass);
        ++tally().cases;
    }
}

}  // namespace

void run_stopping(int rounds) {
    // A thread that nobody wakes ends after a second, or an hour. A test shares the machine.
    const long longest = rounds < 1000 ? 5000 : 500;
    nuv_test::write_ini("nuv_devicemgr", "[OPTIONS]\nScan=0\nScantime=3600000\n");
    CNuv_device_manager manager;
    if (manager.Initialize() != NUV_NOERROR || manager.scantime != 3600000) {
        fail("stopping: the manager does not start");
    }
    manager.stop_threads();
    for (const milliseconds pass : {0ms, 100ms}) {
        nuv_test::write_ini("nuv_cameras",
                            "[backend USB3]\nscan_delay_ms=" + std::to_string(pass.count()) + "\n");
        stop_often(manager, pass == 0ms ? rounds : rounds / 10, pass);
    }
    if (tally().slowest > longest) {
        fail("stopping: the slowest stop took %ld ms beyond the pass", tally().slowest.load());
    }
}

}  // namespace robustness
