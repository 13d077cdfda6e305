#include "manager_world.h"

#include <nuv/iftype.h>

#include <climits>
#include <future>
#include <random>

namespace manager_test {
namespace {

constexpr int no_scan = DEVMGR_IF_OPTION_DISABLE_SCAN;

class Threads : public Manager_test {
protected:
    ~Threads() override { let_go.store(true); }

    void scan_every(unsigned int milliseconds) {
        manager->scantime = milliseconds;
        ASSERT_EQ(manager->start_scan_thread(), NUV_NOERROR);
    }
    /// Starts a pass that stays in the USB 2 back-end until `let_go`.
    void hold_a_pass() {
        usb2.during_call = [this] { wait_until([this] { return let_go.load(); }); };
        scan_every(1);
        wait_until([this] { return usb2.updates > 0; });
    }

    Stand_in& usb2 = stand_in(NUV_IFTYPE_USB2);
    std::atomic<bool> let_go{false};
};

TEST_F(Threads, PassAsksEveryBackEndWhoseScanIsOn) {
    initialize_quietly(std::string(own_log) + "[INTERFACES]\nUSB3=0\nCLHS_SISO_SCAN=0\nGIGE=0\n");
    usb2.update_result = 0xFFFFFFFB;
    stand_in(NUV_IFTYPE_CLHS_KAYA).throws_in_calls = true;
    scan_every(7);
    wait_until([this] { return usb2.updates > 1; });
    manager->stop_threads();

    const std::string calls = "2 call update_devices_in_shmlist() for ";
    Lines pass{"80000 before wait_for mtx 7", "80000 sema_update wait done"};
    for (const auto& [iftype, backend] : manager->interface_list) {
        switch (iftype) {
            case NUV_IFTYPE_USB2:
                pass.insert(pass.end(), {calls + "Interface USB2 (6)",
                                         "2 update_devices_in_shmlist() returned -5"});
                break;
            case NUV_IFTYPE_CLHS_KAYA:
                pass.insert(pass.end(),
                            {calls + "Interface CLHS Kaya Komodo (13)", "1 back-end threw call",
                             "2 update_devices_in_shmlist() returned -1610604541"});
                break;
            case NUV_IFTYPE_ME4:
                pass.push_back("2 scan is disabled for Interface Cameralink SiSo ME4 (7)");
                break;
            default:
                pass.push_back("2 scan is disabled for Interface CLHS SiSo ME5 (12)");
        }
    }
    const Lines lines = told_by(record, "scan_interfaces_thread");
    Lines expected{"8 start"};
    for (int passes = 0; passes < usb2.updates; ++passes) {
        expected.insert(expected.end(), pass.begin(), pass.end());
    }
    if (lines.size() > expected.size() + 1) {  // stopped in its wait, not in a pass
        expected.insert(expected.end(), {pass.front(), "2 thread_run false break_loop"});
    }
    expected.push_back("8 before return");
    EXPECT_EQ(lines, expected);
    EXPECT_EQ(stand_in(NUV_IFTYPE_ME4).updates + stand_in(NUV_IFTYPE_CLHS_ME5).updates, 0);
}

TEST_F(Threads, StopLetsARunningPassFinish) {
    initialize_quietly(std::string(own_log) + usb_only + "USB3=0\n");
    hold_a_pass();
    std::thread stopping([this] { manager->stop_threads(); });
    wait_until([this] { return record.contains("stop_threads: wait until thread"); });
    EXPECT_FALSE(record.contains("update_devices_in_shmlist() returned"));
    let_go = true;
    stopping.join();
    const Lines lines = told_by(record, "scan_interfaces_thread");
    EXPECT_EQ(lines.back(), "8 before return");
    EXPECT_EQ(lines.at(lines.size() - 2), "2 update_devices_in_shmlist() returned 0");
    EXPECT_EQ(usb2.updates, 1);
    EXPECT_EQ(record.texts().back(), "CNuv_dev_manager::stop_threads: thread scan join done");
}

TEST_F(Threads, AddingTheScanOptionWaitsForARunningPass) {
    initialize_quietly(std::string(own_log) + usb_only + "USB3=0\n");
    hold_a_pass();
    std::thread adding([this] { manager->add_interface_option(NUV_IFTYPE_USB2, no_scan); });
    wait_until([this] { return record.contains("for iftype 6 synchronize"); });
    EXPECT_FALSE(record.contains("synchronize done"));
    manager->add_interface_option(NUV_IFTYPE_USB2, 0x10);  // waits for nobody
    let_go = true;
    adding.join();
    EXPECT_EQ(usb2.updates, 1);
    wait_until([this] { return record.contains("scan is disabled for Interface USB2 (6)"); });
    manager->stop_threads();
    EXPECT_EQ(usb2.updates, 1);
    EXPECT_EQ(manager->get_interface_options(NUV_IFTYPE_USB2), 0x12U);
    EXPECT_EQ(
        told_by(record, "add_interface_option"),
        (Lines{"2 DEVMGR_IF_OPTION_DISABLE_SCAN for iftype 6 synchronize", "2 synchronize done"}));
}

// An hour's wait is ended at whatever moment the stop comes: a lost notification would be met by
// the time limit of the test.
TEST_F(Threads, StopEndsALongWaitAtAnyMoment) {
    initialize_quietly(no_interface);
    std::mt19937 random(1);  // the same moments each time
    for (int round = 0; round < 60; ++round) {
        scan_every(3600000);
        ASSERT_EQ(manager->start_time_thread(), NUV_NOERROR);
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 400));
        EXPECT_EQ(manager->stop_threads(), NUV_NOERROR);
        EXPECT_FALSE(manager->thread_scan.joinable() || manager->thread_time.joinable());
    }
}

TEST_F(Threads, SecondStartAndSecondStopChangeNothing) {
    manager->SetLog(log.get());
    manager->set_general_bits(NUV_BIT_LOG_DEVICE_MANAGER);
    EXPECT_EQ(manager->start_scan_thread(), NUV_ERROR_THREAD);
    EXPECT_EQ(manager->start_time_thread(), NUV_ERROR_THREAD);
    EXPECT_EQ(told_by(record, "start_scan_thread"), Lines{"1 not attached to the registry"});
    EXPECT_EQ(told_by(record, "start_time_thread"), Lines{"1 not attached to the registry"});
    EXPECT_FALSE(manager->thread_scan_run || manager->thread_time_run);

    initialize_quietly(std::string(own_log) + no_interface);
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(manager->start_scan_thread(), NUV_NOERROR);
        EXPECT_EQ(manager->start_time_thread(), NUV_NOERROR);
    }
    EXPECT_EQ(told(record), (Lines{"2 start_scan_thread: thread_scan 0x# created",
                                   "2 start_time_thread: thread time 0x# created",
                                   "2 start_scan_thread: thread_scan already running",
                                   "2 start_time_thread: thread_time already running"}));
    manager->stop_threads();
    record.clear();
    EXPECT_EQ(manager->stop_threads(), NUV_NOERROR);
    EXPECT_EQ(told(record), (Lines{"2 stop_threads: thread_scan_run false",
                                   "2 stop_threads: thread_time_run false"}));
}

TEST_F(Threads, BothKeepTheHeartbeat) {
    initialize_quietly(std::string(own_log) + usb_only);
    NUV_Devlist_Shm& region = *manager->shm_mgr->devlist_shm;
    region.time_stamp = 1;
    scan_every(1);
    wait_until([this] { return usb2.updates > 0; });
    manager->stop_threads();
    EXPECT_GT(+region.time_stamp, 1000000);

    region.time_stamp = 1;
    record.clear();
    manager->start_time_thread();
    wait_until([this] { return record.contains("vor wait"); });
    manager->stop_threads();
    EXPECT_GT(+region.time_stamp, 1000000);
    EXPECT_EQ(
        told_by(record, "time_stamp_thread"),
        (Lines{"8 start", "80000 vor wait", "80000 update_time_stamp done", "8 before return"}));
}

TEST_F(Threads, ScanOfOneInterfaceTakesNoLockAndIgnoresItsOptions) {
    initialize_quietly(std::string(own_log) + usb_only + "USB_SCAN=0\n");
    usb2.update_result = 0xFFFFFFFB;
    usb2.during_call = [this] {
        EXPECT_TRUE(update_is_free(*manager));
        EXPECT_TRUE(manager->mtx.try_lock());
        manager->mtx.unlock();
    };
    EXPECT_EQ(manager->scan_interface(NUV_IFTYPE_USB2), 0xFFFFFFFBU);
    EXPECT_EQ(told(record),
              (Lines{"2 scan_interface: call update_devices_in_shmlist() for Interface USB2 (6)",
                     "80000 scan_interface: update_devices_in_shmlist() returned -5"}));
    usb2.throws_in_calls = true;
    EXPECT_EQ(manager->scan_interface(NUV_IFTYPE_USB2), NUV_ERROR_NOMEMORY);

    manager->Close();
    record.clear();
    for (const unsigned int type : {0U, 5U, 6U, 16U, 0x10006U, UINT_MAX}) {
        EXPECT_EQ(manager->scan_interface(type), NUV_ERROR_NOT_FOUND) << type;
    }
    EXPECT_EQ(record.lines().size(), 0U);
}

TEST_F(Threads, PassSkipsBackEndsThatCloseHasDeleted) {
    initialize_quietly(usb_only);
    manager->Close();
    scan_every(1);
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    manager->stop_threads();
    EXPECT_EQ(usb2.updates, 0);
}

TEST_F(Threads, TypesOutOfRangeHaveNoOptions) {
    EXPECT_EQ(manager->add_interface_option(3, no_scan), 0U);  // before the registry is attached
    EXPECT_EQ(manager->get_interface_options(3), 2U);
    initialize_quietly(std::string(own_log) + no_interface);
    const std::vector<std::uint32_t> before(std::begin(manager->interface_options),
                                            std::end(manager->interface_options));
    for (const int type : {-1, 16, INT_MIN, INT_MAX}) {
        EXPECT_EQ(manager->add_interface_option(type, 0xFF), 0U);
        EXPECT_EQ(manager->remove_interface_option(type, 0xFF), 0U);
        EXPECT_EQ(manager->get_interface_options(type), 0U);
    }
    EXPECT_EQ(told_by(record, "add_interface_option").size(), 8U);
    EXPECT_TRUE(std::equal(before.begin(), before.end(), std::begin(manager->interface_options)));
    record.clear();
    manager->add_interface_option(15, 0xFD);
    EXPECT_EQ(manager->remove_interface_option(15, 0x0F), 0U);
    EXPECT_EQ(manager->get_interface_options(15), 0xF0U);
    EXPECT_EQ(record.lines().size(), 0U);
}

}  // namespace
}  // namespace manager_test
