#include "manager_world.h"

#include <nuv/iftype.h>

#include <filesystem>

namespace manager_test {
namespace {

using Shutdown = Manager_test;

Lines operator+(Lines first, const Lines& more) {
    first.insert(first.end(), more.begin(), more.end());
    return first;
}

Lines nothing_runs(const std::string& op) {
    return {"2 " + op + ": ", "2 stop_threads: thread_scan_run false",
            "2 stop_threads: thread_time_run false"};
}

Lines deletes_backends(const std::string& op, const CNuv_device_manager& manager) {
    const std::string count = std::to_string(manager.interface_list.size());
    Lines lines{"2 " + op + ": before sleep", "2 " + op + ": found interface list size " + count};
    if (count != "0") {
        lines.push_back("2 " + op + ": found " + count + " interfaces in list");
    }
    for (const auto& [iftype, backend] : manager.interface_list) {
        lines.push_back("2 " + op + ": delete interface " + std::to_string(iftype));
    }
    return lines;
}

constexpr char destructor[] = "~CNuv_device_manager";

TEST_F(Shutdown, ManagerNeverInitialisedOnlyTells) {
    for (const bool closes : {false, true}) {
        auto unused = std::make_unique<CNuv_device_manager>();
        unused->set_general_bits(NUV_BIT_LOG_DEVICE_MANAGER);
        unused->SetLog(log.get());
        record.clear();
        Lines expected;
        if (closes) {
            unused->Close();
            expected =
                nothing_runs("Close") +
                Lines{"2 Close: found grabdev list size 0", "2 Close: found comdev list size 0"} +
                deletes_backends("Close", *unused);
        }
        expected = expected + nothing_runs(destructor) +
                   Lines{"2 ~CNuv_device_manager: found grabdev list size 0",
                         "2 ~CNuv_device_manager: found comdev list size 0"} +
                   deletes_backends(destructor, *unused) +
                   Lines{"2 ~CNuv_device_manager: delete shm_mgr of CNuv_device_manager"};
        unused.reset();
        EXPECT_EQ(told(record), expected);
    }
}

// A grabber whose back-end refuses to close it, and a communication device, in every later state.
TEST_F(Shutdown, OpenDevicesAreClosedGrabbersFirst) {
    configure(std::string(own_log) + usb_only + "[OPTIONS]\nScan=1\n");
    ASSERT_EQ(manager->Initialize(), NUV_NOERROR);
    CNuv_grab* grab = nullptr;
    CNuv_com* com = nullptr;
    const unsigned int usb2 = add_camera(*manager, NUV_IFTYPE_USB2, 11);
    const unsigned int usb3 = add_camera(*manager, NUV_IFTYPE_USB3, 12);
    ASSERT_EQ(manager->open_grab_device_from_id(usb2, &grab), 0U);
    ASSERT_EQ(manager->open_com_device_from_id(usb3, &com), 0U);
    stand_in(NUV_IFTYPE_USB2).close_result = 0x99;
    record.clear();

    manager->Close();
    const Lines closing_grab{
        "2 close_grab_device: grabdev 0x100",
        "2 close_grab_device: grabdev found if_type 6",
        "2 add_interface_option: DEVMGR_IF_OPTION_DISABLE_SCAN for iftype 6 synchronize",
        "2 add_interface_option: synchronize done",
    };
    EXPECT_EQ(
        told(record),
        (Lines{"2 Close: ", "2 stop_threads: thread_scan_run true",
               "2 stop_threads: thread_time_run true",
               "2 stop_threads: set thread_scan_run false and call notify one",
               "2 stop_threads: set thread_time_run false and call notify one",
               "2 stop_threads: wait until thread 0x# is closed",
               "2 stop_threads: thread scan join done",
               "2 stop_threads: wait until thread 0x# is closed",
               "2 stop_threads: thread time join done", "2 Close: found grabdev list size 1",
               "1 Close: found not closed devices in grabdev list"} +
         closing_grab +
         Lines{"2 close_grab_device: close and erase from list done size 1 err 0x99",
               "2 close_grab_device: return 0x99", "2 Close: found comdev list size 1",
               "1 Close: found not closed devices in comdev list",
               "2 close_com_device: comdev 0x100", "2 close_com_device: comdev found if_type 8",
               "2 close_com_device: close and erase from list done size 0 err 0x0",
               "2 close_com_device: return 0x0"} +
         deletes_backends("Close", *manager)));
    EXPECT_EQ(manager->interface_list.size(), 2U);
    EXPECT_EQ(stand_in(NUV_IFTYPE_USB2).destroyed, 1);
    EXPECT_EQ(stand_in(NUV_IFTYPE_USB3).destroyed, 1);
    EXPECT_TRUE(manager->init_done);
    EXPECT_EQ(+manager->shm_mgr->devlist_shm->opencount, 1);

    const auto with_the_rest = [&](const std::string& op) {
        return nothing_runs(op) +
               Lines{"2 " + op + ": found grabdev list size 1",
                     "1 " + op + ": found not closed devices in grabdev list"} +
               closing_grab +
               Lines{"1 close_grab_device: if_class not found",
                     "2 close_grab_device: return 0x80002001",
                     "2 " + op + ": found comdev list size 0"} +
               deletes_backends(op, *manager);
    };
    record.clear();
    manager->Close();
    EXPECT_EQ(told(record), with_the_rest("Close"));

    const Lines at_the_end = with_the_rest(destructor) +
                             Lines{"2 ~CNuv_device_manager: delete shm_mgr of CNuv_device_manager",
                                   "2 ~CNuv_device_manager: delete cdevlog"};
    record.clear();
    manager.reset();
    EXPECT_EQ(told(record), at_the_end);
    EXPECT_FALSE(std::filesystem::exists("/dev/shm/nuv_device_shmem"));
}

TEST_F(Shutdown, SeveralOpenDevicesAreAllClosedByTheDestructor) {
    initialize_quietly(usb_only);
    Stand_in& usb3 = stand_in(NUV_IFTYPE_USB3);
    const unsigned int id = add_camera(*manager, NUV_IFTYPE_USB3, 1);
    for (int i = 0; i < 5; ++i) {
        CNuv_grab* grab = nullptr;
        CNuv_com* com = nullptr;
        EXPECT_EQ(manager->open_grab_device_from_id(id, &grab), 0U);
        EXPECT_EQ(manager->open_com_device_from_id(id, &com), 0U);
    }
    EXPECT_EQ(manager->grabdev_list.size(), 5U);
    EXPECT_EQ(manager->comdev_list.size(), 5U);
    manager.reset();
    EXPECT_EQ(usb3.closes, 10);
}

}  // namespace
}  // namespace manager_test
