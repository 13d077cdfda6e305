#include "manager_world.h"
#include "support/faults.h"

#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>

namespace manager_test {
namespace {

constexpr int no_scan = DEVMGR_IF_OPTION_DISABLE_SCAN;

class Threads : public Manager_test {
protected:
    void scan_every(unsigned int milliseconds) {
        manager->scantime = milliseconds;
        ASSERT_EQ(manager->start_scan_thread(), NUV_NOERROR);
    }
};

TEST_F(Threads, PassKeepsTheHeartbeatAndAsksEveryBackEndWhoseScanIsOn) {
    initialize_quietly(std::string(own_log) + "[INTERFACES]\nUSB3=0\nCLHS_SISO=0\nGIGE=0\n");
    region().time_stamp = 1;
    manager->interface_list[NUV_IFTYPE_GIGE] = nullptr;  // as `Close` leaves it
    stand_in(NUV_IFTYPE_CLHS_KAYA).in_step = throws;
    usb2.in_step = [this](Step) {
        EXPECT_FALSE(update_is_free());
        return 0xFFFFFFFBU;
    };
    scan_every(7);
    wait_until([this] { return usb2.count(Step::update) > 1; });
    manager->stop_threads();
    for (const char* line : {
             "start",
             "before wait_for mtx 7",
             "sema_update wait done",
             "call update_devices_in_shmlist() for Interface USB2 (6)",
             "update_devices_in_shmlist() returned -5",
             "call update_devices_in_shmlist() for Interface CLHS Kaya Komodo (13)",
             "back-end threw call",
             "update_devices_in_shmlist() returned -1610604541",
             "scan is disabled for Interface Cameralink SiSo ME4 (7)",
             "before return",
         }) {
        EXPECT_TRUE(record.contains(std::string("scan_interfaces_thread: ") + line)) << line;
    }
    EXPECT_EQ(stand_in(NUV_IFTYPE_ME4).count(Step::update), 0);
    EXPECT_TRUE(update_is_free());
    EXPECT_GT(+region().time_stamp, 1000000);
}

TEST_F(Threads, StopAndANewScanOptionWaitForARunningPass) {
    initialize_quietly(std::string(own_log) + usb_only + "USB3=0\n");
    std::atomic<bool> let_go{false};
    usb2.in_step = [&](Step) {
        wait_until([&] { return let_go.load(); });
        return 0U;
    };
    scan_every(1);
    wait_until([this] { return usb2.count(Step::update) > 0; });
    std::thread adding([this] { manager->add_interface_option(NUV_IFTYPE_USB2, no_scan); });
    wait_until([this] { return record.contains("for iftype 6 synchronize"); });
    std::thread stopping([this] { manager->stop_threads(); });
    wait_until([this] { return record.contains("stop_threads: wait until thread"); });
    manager->add_interface_option(NUV_IFTYPE_USB2, 0x10);  // waits for nobody
    EXPECT_FALSE(record.contains("synchronize done"));
    EXPECT_FALSE(record.contains("thread scan join done"));
    let_go = true;
    adding.join();
    stopping.join();
    EXPECT_TRUE(record.contains("update_devices_in_shmlist() returned 0"));
    EXPECT_EQ(usb2.count(Step::update), 1);
    EXPECT_EQ(manager->get_interface_options(NUV_IFTYPE_USB2), 0x12U);
}

TEST_F(Threads, ScanSwitchedOffDuringAnOpenStaysOff) {
    initialize_quietly(std::string(own_log) + usb_only);
    const unsigned int camera = add_camera(NUV_IFTYPE_USB2, 1234);
    std::thread switching;
    usb2.in_step = [&](Step step) {
        if (step == Step::open) {
            record.clear();
            switching =
                std::thread([&] { manager->add_interface_option(NUV_IFTYPE_USB2, no_scan); });
            wait_until([&] { return record.contains("for iftype 6 synchronize"); });
        }
        return 0U;
    };
    CNuv_grab* grab = nullptr;
    EXPECT_EQ(manager->open_grab_device_from_id(camera, &grab), NUV_NOERROR);
    switching.join();
    EXPECT_EQ(manager->get_interface_options(NUV_IFTYPE_USB2), +DEVMGR_IF_OPTION_DISABLE_SCAN);
}

TEST_F(Threads, LeaveTheProgramItsSignalsAndScanNoEarlierThanAsked) {
    initialize_quietly(std::string(own_log) + usb_only);
    scan_every(3'600'000);
    wait_until([this] { return record.contains("before wait_for mtx"); });
    sigset_t ours;
    sigemptyset(&ours);
    sigaddset(&ours, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &ours, nullptr);
    kill(getpid(), SIGUSR1);  // by its default action a thread that takes it ends the process
    const timespec soon{1, 0};
    EXPECT_EQ(sigtimedwait(&ours, nullptr, &soon), SIGUSR1);
    EXPECT_EQ(usb2.count(Step::update), 0);
}

TEST_F(Threads, AreStartedOnlyWhenTheyCanBe) {
    configure(std::string(own_log) + no_interface);
    EXPECT_EQ(manager->start_scan_thread(), NUV_ERROR_THREAD) << "not attached";
    EXPECT_EQ(manager->start_time_thread(), NUV_ERROR_THREAD) << "not attached";
    {
        nuv_test::Faults faults;
        faults.fail_always(nuv_test::Call::pthread_create, EAGAIN);
        EXPECT_EQ(manager->Initialize(), NUV_NOERROR);
        EXPECT_EQ(manager->start_scan_thread(), NUV_ERROR_THREAD);
        EXPECT_EQ(manager->start_time_thread(), NUV_ERROR_THREAD);
    }
    EXPECT_TRUE(record.contains("start_scan_thread: create thread_scan failed"));
    EXPECT_TRUE(record.contains("start_time_thread: create thread time failed"));
    region().time_stamp = 1;
    EXPECT_EQ(manager->start_time_thread(), NUV_NOERROR);
    wait_until([this] { return record.contains("vor wait"); });
    manager->stop_threads();
    EXPECT_TRUE(record.contains("update_time_stamp done"));
    EXPECT_GT(+region().time_stamp, 1000000);
}

TEST_F(Threads, ScanOfOneInterfaceTakesNoLockAndIgnoresItsOptions) {
    initialize_quietly(std::string(usb_only) + "USB_SCAN=0\n");
    usb2.in_step = [this](Step) { return update_is_free() ? 0xFFFFFFFBU : 0; };
    EXPECT_EQ(manager->scan_interface(NUV_IFTYPE_USB2), 0xFFFFFFFBU);
    manager->Close();
    for (const unsigned int type : {0U, 5U, 6U, 16U, 0x10006U, UINT_MAX}) {
        EXPECT_EQ(manager->scan_interface(type), NUV_ERROR_NOT_FOUND) << type;
    }
}

TEST_F(Threads, TypesOutOfRangeHaveNoOptions) {
    EXPECT_EQ(manager->add_interface_option(3, no_scan), 0U);  // before the registry is attached
    EXPECT_EQ(manager->get_interface_options(3), 2U);
    for (const int type : {-1, 16, INT_MIN, INT_MAX}) {
        EXPECT_EQ(manager->add_interface_option(type, 0xFF), 0U);
        EXPECT_EQ(manager->get_interface_options(type), 0U);
        EXPECT_EQ(manager->remove_interface_option(type, 0xFF), 0U);
    }
    manager->add_interface_option(15, 0xFF);
    EXPECT_EQ(manager->remove_interface_option(15, 0x0F), 0U);
    EXPECT_EQ(manager->get_interface_options(15), 0xF0U);
}

}  // namespace
}  // namespace manager_test
