#include "manager_world.h"
#include "support/faults.h"

#include <nuv/iftype.h>

#include <cstdio>
#include <utility>

namespace manager_test {
namespace {

// What the manager's two semaphore wrappers tell.
constexpr char taken[] = "2 wait: sem_wait returned 0 wait_called 1 t_id #";
constexpr char posted[] = "2 post: sem_post returned 0 wait_called 0";

class Devices : public Manager_test {
protected:
    void start(unsigned int bits = 0) {
        manager->set_general_bits(bits);
        initialize_quietly(std::string(own_log) + usb_only);
        camera = add_camera(*manager, NUV_IFTYPE_USB2, 1234);
        without_backend = add_camera(*manager, NUV_IFTYPE_GIGE, 77);
        record.clear();
    }
    bool scan_is_off() const {
        return (manager->get_interface_options(NUV_IFTYPE_USB2) & DEVMGR_IF_OPTION_DISABLE_SCAN) !=
               0;
    }

    unsigned int camera = 0;
    unsigned int without_backend = 0;
    CNuv_grab* grab = nullptr;
    CNuv_com* com = nullptr;
    Stand_in& usb2 = stand_in(NUV_IFTYPE_USB2);
};

TEST_F(Devices, GrabberStepsAreToldInOrder) {
    start(NUV_BIT_LOG_SEM_ACCESS | NUV_BIT_LOG_INTERFACE);
    const Lines scan_goes_off{
        "2 add_interface_option: DEVMGR_IF_OPTION_DISABLE_SCAN for iftype 6 synchronize",
        "2 wait: no sem_wait called wait_called 2 t_id #", "2 post: no sem_post wait_called 1",
        "2 add_interface_option: synchronize done"};
    EXPECT_EQ(manager->open_grab_device_from_id(camera, &grab), 0U);
    Lines expected{"2 open_grab_device_from_id: id 1", taken, taken, posted};
    expected.insert(expected.end(), scan_goes_off.begin(), scan_goes_off.end());
    expected.insert(
        expected.end(),
        {"2 CNuv_interface::open: serial number 1234", "2 CNuv_interface::open: back-end called",
         "2 open_grab_device_from_id: open and add to list done size 1 err 0x0", posted,
         "2 open_grab_device_from_id: return 0x0"});
    EXPECT_EQ(told(record), expected);

    record.clear();
    EXPECT_EQ(manager->close_grab_device(grab), 0U);
    expected = {"2 close_grab_device: grabdev 0x100", taken,
                "2 close_grab_device: grabdev found if_type 6"};
    expected.insert(expected.end(), scan_goes_off.begin(), scan_goes_off.end());
    expected.insert(expected.end(),
                    {"2 CNuv_interface::close: back-end called",
                     "2 close_grab_device: close and erase from list done size 0 err 0x0", posted,
                     "2 close_grab_device: return 0x0"});
    EXPECT_EQ(told(record), expected);
}

TEST_F(Devices, CommunicationStepsAreToldInOrder) {
    start(NUV_BIT_LOG_SEM_ACCESS | NUV_BIT_LOG_INTERFACE);
    EXPECT_EQ(manager->open_com_device_from_id(camera, &com), 0U);
    EXPECT_EQ(told(record),
              (Lines{"2 open_com_device_from_id: nuvnum 1", taken, taken, posted,
                     "2 CNuv_interface::open: serial number 1234",
                     "2 CNuv_interface::open: back-end called",
                     "2 open_com_device_from_id: open and add to list done size 1 err 0x0", posted,
                     "2 open_com_device_from_id: return 0x0"}));
    record.clear();
    EXPECT_EQ(manager->close_com_device(com), 0U);
    EXPECT_EQ(told(record),
              (Lines{"2 close_com_device: comdev 0x100", taken,
                     "2 close_com_device: comdev found if_type 6",
                     "2 CNuv_interface::close: back-end called",
                     "2 close_com_device: close and erase from list done size 0 err 0x0", posted,
                     "2 close_com_device: return 0x0"}));
}

TEST_F(Devices, FailuresAreToldAndChangeNothing) {
    start();
    const auto expect = [this](unsigned int result, unsigned int expected_result,
                               const std::string& op, Lines lines) {
        char code[32];
        std::snprintf(code, sizeof code, "2 return 0x%x", expected_result);
        lines.push_back(code);
        EXPECT_EQ(result, expected_result) << op;
        EXPECT_EQ(told_by(record, op), lines);
        EXPECT_TRUE(update_is_free(*manager)) << op;
        EXPECT_FALSE(scan_is_off()) << op;
        record.clear();
    };
    const std::string opens_grab = "open_grab_device_from_id";
    const std::string opens_com = "open_com_device_from_id";
    auto* const unknown_grab = reinterpret_cast<CNuv_grab*>(0x77);
    auto* const unknown_com = reinterpret_cast<CNuv_com*>(0x77);

    expect(manager->open_grab_device_from_id(99, &grab), 0x80002001, opens_grab, {"2 id 99"});
    expect(manager->open_com_device_from_id(99, &com), 0x80002001, opens_com, {"2 nuvnum 99"});
    expect(manager->open_grab_device_from_id(without_backend, &grab), 0x80002001, opens_grab,
           {"2 id 2"});
    expect(manager->open_com_device_from_id(without_backend, &com), 0x80002001, opens_com,
           {"2 nuvnum 2", "1 if_class not found"});
    expect(manager->close_grab_device(unknown_grab), 0x80002001, "close_grab_device",
           {"2 grabdev 0x77", "1 grabdev 0x77 not found"});
    expect(manager->close_com_device(unknown_com), 0x80002001, "close_com_device",
           {"2 comdev 0x77", "1 comdev 0x77 not found"});
    EXPECT_EQ(usb2.opens + usb2.closes, 0);

    usb2.open_result = 0xDEAD;
    expect(manager->open_grab_device_from_id(camera, &grab), 0xDEAD, opens_grab,
           {"2 id 1", "2 open and add to list done size 0 err 0xdead"});
    expect(manager->open_com_device_from_id(camera, &com), 0xDEAD, opens_com,
           {"2 nuvnum 1", "2 open and add to list done size 0 err 0xdead"});
    usb2.throws_in_calls = true;
    expect(
        manager->open_grab_device_from_id(camera, &grab), NUV_ERROR_NOMEMORY, opens_grab,
        {"2 id 1", "1 back-end threw call", "2 open and add to list done size 0 err 0xa0002003"});
    usb2.throws_in_calls = false;

    usb2.open_result = 0;
    ASSERT_EQ(manager->open_grab_device_from_id(camera, &grab), 0U);
    ASSERT_EQ(manager->open_com_device_from_id(camera, &com), 0U);
    usb2.close_result = 0xBEEF;
    for (int time = 1; time <= 2; ++time) {
        record.clear();
        expect(manager->close_grab_device(grab), 0xBEEF, "close_grab_device",
               {"2 grabdev 0x400", "2 grabdev found if_type 6",
                "2 close and erase from list done size 1 err 0xbeef"});
        expect(manager->close_com_device(com), 0xBEEF, "close_com_device",
               {"2 comdev 0x500", "2 comdev found if_type 6",
                "2 close and erase from list done size 1 err 0xbeef"});
        EXPECT_EQ(usb2.closes, 2 * time);
    }
    usb2.throws_in_calls = true;
    expect(manager->close_com_device(com), NUV_ERROR_NOMEMORY, "close_com_device",
           {"2 comdev 0x500", "2 comdev found if_type 6", "1 back-end threw call",
            "2 close and erase from list done size 1 err 0xa0002003"});

    // As `Close` leaves the list: the key stays, without its back-end.
    manager->interface_list[NUV_IFTYPE_USB2].reset();
    expect(manager->open_grab_device_from_id(camera, &grab), 0x80002001, opens_grab, {"2 id 1"});
    expect(manager->open_com_device_from_id(camera, &com), 0x80002001, opens_com,
           {"2 nuvnum 1", "1 if_class not found"});
    expect(manager->close_grab_device(grab), 0x80002001, "close_grab_device",
           {"2 grabdev 0x400", "2 grabdev found if_type 6", "1 if_class not found"});
    expect(manager->close_com_device(com), 0x80002001, "close_com_device",
           {"2 comdev 0x500", "2 comdev found if_type 6", "1 if_class not found"});
    EXPECT_EQ(manager->grabdev_list.size() + manager->comdev_list.size(), 2U);
}

TEST_F(Devices, RequestsThatCannotBeServedAreOneErrorLine) {
    manager->SetLog(log.get());
    manager->set_general_bits(NUV_BIT_LOG_DEVICE_MANAGER);
    record.clear();
    EXPECT_EQ(manager->open_grab_device_from_id(1, &grab), NUV_ERROR_NOMEMORY);
    EXPECT_EQ(manager->open_com_device_from_id(1, &com), NUV_ERROR_NOMEMORY);
    EXPECT_EQ(manager->close_grab_device(nullptr), NUV_ERROR_NOMEMORY);
    EXPECT_EQ(manager->close_com_device(nullptr), NUV_ERROR_NOMEMORY);
    EXPECT_EQ(told(record), (Lines{"1 open_grab_device_from_id: not attached to the registry",
                                   "1 open_com_device_from_id: not attached to the registry",
                                   "1 close_grab_device: not attached to the registry",
                                   "1 close_com_device: not attached to the registry"}));
    start();
    EXPECT_EQ(manager->open_grab_device_from_id(camera, nullptr), NUV_ERROR_NOT_FOUND);
    EXPECT_EQ(manager->open_com_device_from_id(camera, nullptr), NUV_ERROR_NOT_FOUND);
    EXPECT_EQ(told(record), (Lines{"1 open_grab_device_from_id: no address for the handle",
                                   "1 open_com_device_from_id: no address for the handle"}));
    EXPECT_EQ(usb2.opens, 0);
}

CNuv_device_manager* watched = nullptr;
Lines words_at_posts;

// On every path that reaches the back-end's type: set when the back-end runs, as it was before the
// semaphore is posted.
TEST_F(Devices, ScanIsOffWhileAGrabberIsOpenedOrClosed) {
    start();
    std::string during;
    usb2.during_call = [&] {
        during = scan_is_off() ? "off" : "on";
        EXPECT_FALSE(update_is_free(*manager));
    };
    watched = manager.get();
    nuv_test::Faults faults;
    faults.before(nuv_test::Call::sem_post, [](int /*number*/) {
        words_at_posts.push_back(std::to_string(watched->get_interface_options(NUV_IFTYPE_USB2)));
    });
    for (const bool off_before : {false, true}) {
        if (off_before) {
            manager->add_interface_option(NUV_IFTYPE_USB2, DEVMGR_IF_OPTION_DISABLE_SCAN);
        }
        const std::string before = off_before ? "2" : "0";
        const auto expect = [&](const std::string& in_backend) {
            EXPECT_EQ(during, in_backend);
            EXPECT_EQ(words_at_posts.back(), before);
            EXPECT_EQ(scan_is_off(), off_before);
            words_at_posts = {"none"};
            during = "not called";
        };
        during = "not called";
        usb2.open_result = 5;
        manager->open_grab_device_from_id(camera, &grab);
        expect("off");
        usb2.open_result = 0;
        manager->open_grab_device_from_id(camera, &grab);
        expect("off");
        manager->open_com_device_from_id(camera, &com);
        expect(off_before ? "off" : "on");
        manager->close_com_device(com);
        expect(off_before ? "off" : "on");
        usb2.close_result = 5;
        manager->close_grab_device(grab);
        expect("off");
        usb2.throws_in_calls = true;
        manager->close_grab_device(grab);
        expect("not called");
        usb2.throws_in_calls = false;
        usb2.close_result = 0;
        manager->close_grab_device(grab);
        expect("off");
    }
}

TEST_F(Devices, OneHandleIsRecordedOnce) {
    start();
    usb2.hands_out_one_handle = true;
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(manager->open_grab_device_from_id(camera, &grab), 0U);
        EXPECT_EQ(manager->open_com_device_from_id(camera, &com), 0U);
    }
    EXPECT_EQ(manager->grabdev_list.size(), 1U);
    EXPECT_EQ(manager->comdev_list.size(), 1U);
    EXPECT_EQ(manager->close_grab_device(grab), 0U);
    EXPECT_EQ(manager->close_grab_device(grab), NUV_ERROR_NOT_FOUND);
    EXPECT_EQ(usb2.closes, 1);
}

TEST_F(Devices, HolderOfTheSemaphoreIsNotBlocked) {
    start();
    manager->shm_mgr->sema_update->wait();
    EXPECT_EQ(manager->open_grab_device_from_id(camera, &grab), 0U);
    EXPECT_EQ(manager->close_grab_device(grab), 0U);
    EXPECT_FALSE(update_is_free(*manager));
    manager->shm_mgr->sema_update->post();
    EXPECT_TRUE(update_is_free(*manager));
}

TEST_F(Devices, RefusedWaitLetsEverythingRunOnAndPostsNothing) {
    start();
    CNuv_sem_access& update = *manager->shm_mgr->sema_update;
    sem_t* const semaphore = std::exchange(update.sem, nullptr);
    EXPECT_EQ(manager->open_grab_device_from_id(camera, &grab), 0U);
    EXPECT_EQ(manager->close_grab_device(grab), 0U);
    EXPECT_EQ(manager->open_com_device_from_id(camera, &com), 0U);
    EXPECT_EQ(manager->close_com_device(com), 0U);
    EXPECT_EQ(usb2.closes, 2);
    manager->scantime = 1;
    manager->start_scan_thread();
    wait_until([this] { return usb2.updates > 0; });
    manager->stop_threads();
    EXPECT_EQ(told_by(record, "add_interface_option").size(), 4U);
    update.sem = semaphore;
    EXPECT_TRUE(update_is_free(*manager));
}

TEST_F(Devices, HandleThatCannotBeRecordedIsClosedAgain) {
    start();
    usb2.during_call = [this] {
        if (usb2.closes == 0) {
            nuv_test::fail_next_new();
        }
    };
    EXPECT_EQ(manager->open_grab_device_from_id(camera, &grab), NUV_ERROR_NOMEMORY);
    EXPECT_EQ(usb2.closes, 1);
    usb2.closes = 0;
    EXPECT_EQ(manager->open_com_device_from_id(camera, &com), NUV_ERROR_NOMEMORY);
    EXPECT_EQ(usb2.closes, 1);
    EXPECT_TRUE(manager->grabdev_list.empty() && manager->comdev_list.empty());
    EXPECT_TRUE(update_is_free(*manager));
    EXPECT_FALSE(scan_is_off());
}

}  // namespace
}  // namespace manager_test
