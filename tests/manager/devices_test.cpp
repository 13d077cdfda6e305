// Opening and closing. What grabbers and communication devices have in common is tested with each.
#include "manager_world.h"
#include "support/faults.h"

#include <utility>

namespace manager_test {
namespace {

class Devices : public Manager_test, public testing::WithParamInterface<std::string> {
protected:
    void start() {
        initialize_quietly(std::string(own_log) + usb_only);
        camera = add_camera(NUV_IFTYPE_USB2, 1234);
        without_backend = add_camera(NUV_IFTYPE_GIGE, 77);
    }
    unsigned int open(unsigned int id) {
        return is_grab ? manager->open_grab_device_from_id(id, &grab)
                       : manager->open_com_device_from_id(id, &com);
    }
    unsigned int close() {
        return is_grab ? manager->close_grab_device(grab) : manager->close_com_device(com);
    }
    std::size_t recorded() const {
        return manager->grabdev_list.size() + manager->comdev_list.size();
    }
    unsigned int options() const { return manager->get_interface_options(NUV_IFTYPE_USB2); }

    const bool is_grab = GetParam() == "grab";
    unsigned int camera = 0;
    unsigned int without_backend = 0;
    CNuv_grab* grab = nullptr;
    CNuv_com* com = nullptr;
};
INSTANTIATE_TEST_SUITE_P(Open, Devices, testing::Values("grab", "com"),
                         [](const auto& tested) { return tested.param; });

TEST_P(Devices, FailuresAreToldAndChangeNothing) {
    const auto expect = [this](unsigned int result, unsigned int expected, const char* line) {
        SCOPED_TRACE(line);
        EXPECT_EQ(result, expected);
        EXPECT_TRUE(record.contains(line));
        EXPECT_TRUE(update_is_free());
        EXPECT_EQ(options(), 0U);
        record.clear();
    };
    EXPECT_EQ(open(1), NUV_ERROR_NOMEMORY) << "not attached";
    EXPECT_EQ(close(), NUV_ERROR_NOMEMORY) << "not attached";
    start();
    expect(is_grab ? manager->open_grab_device_from_id(camera, nullptr)
                   : manager->open_com_device_from_id(camera, nullptr),
           NUV_ERROR_NOT_FOUND, "_device_from_id: no address for the handle");
    expect(open(99), NUV_ERROR_NOT_FOUND, "_device_from_id: return 0x80002001");
    expect(open(without_backend), NUV_ERROR_NOT_FOUND,
           is_grab ? "return 0x80002001" : "open_com_device_from_id: if_class not found");
    expect(close(), NUV_ERROR_NOT_FOUND, "dev (nil) not found");
    usb2.in_step = [](Step) { return 0xDEADU; };
    expect(open(camera), 0xDEAD, "done size 0 err 0xdead");
    usb2.in_step = throws;
    expect(open(camera), NUV_ERROR_NOMEMORY, "_device_from_id: back-end threw call");
    usb2.in_step = [](Step step) {
        if (step == Step::open) {
            nuv_test::fail_next_new();
        }
        return 0U;
    };
    expect(open(camera), NUV_ERROR_NOMEMORY, "done size 0 err 0xa0002003");
    EXPECT_EQ(usb2.count(Step::close), 1) << "what cannot be recorded is closed again";
    EXPECT_EQ(recorded(), 0U);

    usb2.in_step = nullptr;
    ASSERT_EQ(open(camera), 0U);
    usb2.in_step = [](Step) { return 0xBEEFU; };
    expect(close(), 0xBEEF, "done size 1 err 0xbeef");
    usb2.in_step = throws;
    expect(close(), NUV_ERROR_NOMEMORY, "_device: back-end threw call");
    // As `Close` leaves the list: the key stays, without its back-end.
    auto backend = std::exchange(manager->interface_list[NUV_IFTYPE_USB2], nullptr);
    expect(open(camera), NUV_ERROR_NOT_FOUND, "return 0x80002001");
    expect(close(), NUV_ERROR_NOT_FOUND, "_device: if_class not found");
    EXPECT_EQ(recorded(), 1U);

    manager->interface_list[NUV_IFTYPE_USB2] = std::move(backend);
    usb2.in_step = nullptr;
    EXPECT_EQ(close(), 0U);
    expect(close(), NUV_ERROR_NOT_FOUND, "not found");
    EXPECT_EQ(recorded(), 0U);
}

// A scan that was off before stays so.
TEST_P(Devices, ScanIsOffAndUpdateHeldWhileAGrabberIsOpenedOrClosed) {
    start();
    for (const unsigned int before : {0U, +DEVMGR_IF_OPTION_DISABLE_SCAN}) {
        manager->add_interface_option(NUV_IFTYPE_USB2, before);
        usb2.in_step = [&](Step) {
            EXPECT_FALSE(update_is_free());
            EXPECT_EQ(options(), is_grab ? DEVMGR_IF_OPTION_DISABLE_SCAN : before);
            return 0U;
        };
        EXPECT_EQ(open(camera), 0U);
        EXPECT_EQ(options(), before);
        EXPECT_EQ(close(), 0U);
        EXPECT_EQ(options(), before);
    }
    EXPECT_EQ(usb2.count(Step::open) + usb2.count(Step::close), 4);
}

TEST_P(Devices, SemaphoreThatTheCallersThreadHoldsIsLeftToIt) {
    start();
    manager->shm_mgr->sema_update->wait();
    EXPECT_EQ(open(camera) + close(), 0U);
    EXPECT_FALSE(update_is_free());
    manager->shm_mgr->sema_update->post();
    EXPECT_TRUE(update_is_free());
}

}  // namespace
}  // namespace manager_test
