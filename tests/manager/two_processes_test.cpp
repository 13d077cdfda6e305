// What one process opens, closes or scans never overlaps what another does.
#include "manager_world.h"
#include "support/child_process.h"

#include <nuv/iftype.h>

#include <cstdio>
#include <iostream>

namespace manager_test {
namespace {

/// Opens the camera with the given id. In the back-end it says so, and stays until it gets a line.
int open_and_wait(const std::vector<std::string>& arguments) {
    CNuv_device_manager manager;
    if (manager.Initialize() != NUV_NOERROR) {
        return 1;
    }
    stand_in(NUV_IFTYPE_USB2).during_call = [] {
        std::puts("in the back-end");
        std::string line;
        std::getline(std::cin, line);
    };
    std::puts("opening");
    CNuv_grab* grab = nullptr;
    const auto id = static_cast<unsigned int>(std::stoul(arguments.at(0)));
    const unsigned int result = manager.open_grab_device_from_id(id, &grab);
    std::puts("opened");
    stand_in(NUV_IFTYPE_USB2).during_call = nullptr;
    return result == 0 ? 0 : 2;
}
const nuv_test::Register_role opens("open_and_wait", open_and_wait);

using Two_processes = Manager_test;
using namespace std::chrono_literals;

TEST_F(Two_processes, ScanWaitsForAnOpenElsewhere) {
    initialize_quietly(std::string(usb_only) + "[OPTIONS]\nScan=0\n");
    const std::string id = std::to_string(add_camera(*manager, NUV_IFTYPE_USB2, 5));
    nuv_test::Child child = nuv_test::Child::in_role("open_and_wait", {id});
    ASSERT_EQ(child.read_line(), "opening");
    ASSERT_EQ(child.read_line(), "in the back-end");
    manager->scantime = 1;
    manager->start_scan_thread();
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(stand_in(NUV_IFTYPE_USB2).updates, 0);
    child.send_line("go on");
    EXPECT_EQ(child.read_line(), "opened");
    wait_until([] { return stand_in(NUV_IFTYPE_USB2).updates > 0; });
    EXPECT_EQ(child.wait(), 0);
}

TEST_F(Two_processes, OpenWaitsForAScanElsewhere) {
    initialize_quietly(std::string(usb_only) + "[OPTIONS]\nScan=0\n");
    const std::string id = std::to_string(add_camera(*manager, NUV_IFTYPE_USB2, 5));
    Stand_in& usb2 = stand_in(NUV_IFTYPE_USB2);
    std::atomic<bool> let_go{false};
    usb2.during_call = [&] { wait_until([&] { return let_go.load(); }); };
    manager->scantime = 1;
    manager->start_scan_thread();
    wait_until([&] { return usb2.updates > 0; });
    nuv_test::Child child = nuv_test::Child::in_role("open_and_wait", {id});
    EXPECT_EQ(child.read_line(), "opening");
    EXPECT_EQ(child.read_line(50ms), std::nullopt);
    let_go = true;
    EXPECT_EQ(child.read_line(), "in the back-end");
    child.send_line("go on");
    EXPECT_EQ(child.read_line(), "opened");
    EXPECT_EQ(child.wait(), 0);
}

}  // namespace
}  // namespace manager_test
