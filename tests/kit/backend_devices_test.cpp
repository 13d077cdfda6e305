#include "backend_world.h"

#include <nuv/result.h>

#include <nuvkit/com.h>
#include <nuvkit/grab.h>
#include <nuvkit/holder.h>

#include <unistd.h>

#include <functional>
#include <thread>

namespace {

using namespace kit_test;

class Devices : public Backend_test {
protected:
    void SetUp() override {
        Backend_test::SetUp();
        start(camera("a", 5));
    }
    unsigned int open_grab() { return usb3->open_grab_device(5, &grab); }
    unsigned int open_com() { return usb3->open_com_device(5, &com); }
    unsigned int bits(const std::string& name = "a") { return entry(name).status_bits; }
    int holder() { return nuvkit::holder_of(entry("a")).process_id; }

    static constexpr unsigned int grab_open = NUV_STATUS_PRESENT | NUV_STATUS_GRAB_OPEN;
    CNuv_grab* grab = nullptr;
    CNuv_com* com = nullptr;
};

TEST_F(Devices, OpenAndCloseSetAndClearTheBitsAndTheHolder) {
    ASSERT_EQ(open_grab() | open_com(), 0U);
    EXPECT_EQ(grab->serialnumber + com->serialnumber, 10U);
    EXPECT_EQ(bits(), grab_open | NUV_STATUS_COM_OPEN);
    EXPECT_EQ(holder(), getpid());
    CNuv_grab* const first = grab;
    EXPECT_EQ(open_grab(), NUV_BACKEND_BUSY);
    EXPECT_EQ(grab, first) << "stored only with 0";
    EXPECT_EQ(usb3->close_grab_device(grab), 0U);
    EXPECT_EQ(usb3->close_grab_device(grab), NUV_BACKEND_BAD_HANDLE);
    EXPECT_EQ(holder(), getpid());
    EXPECT_EQ(usb3->close_com_device(com), 0U);
    EXPECT_EQ(bits(), NUV_STATUS_PRESENT);
    EXPECT_EQ(holder(), 0);
}

TEST_F(Devices, WhatCannotBeOpenedOrClosedIsRefused) {
    EXPECT_EQ(usb3->open_grab_device(6, &grab), NUV_ERROR_NOT_FOUND);
    EXPECT_EQ(usb3->open_grab_device(5, nullptr), NUV_BACKEND_BAD_HANDLE);
    EXPECT_EQ(usb3->open_com_device(5, nullptr), NUV_BACKEND_BAD_HANDLE);
    CNuv_com foreign(5);
    EXPECT_EQ(usb3->close_com_device(&foreign), NUV_BACKEND_BAD_HANDLE);
    write_inventory(camera("a", 5, "open_result=0x80005555"));
    EXPECT_EQ(open_grab(), 0x80005555U);
    write_inventory(camera("a", 5, "plugged=off"));
    EXPECT_EQ(open_grab(), NUV_BACKEND_UNPLUGGED);
    EXPECT_EQ(bits(), NUV_STATUS_PRESENT);

    write_inventory(camera("a", 5, "close_result=9"));
    ASSERT_EQ(open_grab(), 0U);
    EXPECT_EQ(usb3->close_grab_device(grab), 9U);
    EXPECT_EQ(bits(), grab_open) << "may be closed again";
    write_inventory(camera("a", 5));
    EXPECT_EQ(usb3->close_grab_device(grab), 0U);
}

TEST_F(Devices, OfTwoThreadsAtOnceOneOpensAndOneCloses) {
    write_inventory(camera("a", 5, "open_delay_ms=200\nclose_delay_ms=200"));
    // The one gets 0, the other is refused.
    const auto sum_of_two = [](const std::function<unsigned int()>& act) {
        unsigned int first = 1;
        std::thread other([&] { first = act(); });
        const unsigned int second = act();
        other.join();
        return first + second;
    };
    EXPECT_EQ(sum_of_two([this] { return open_grab(); }), NUV_BACKEND_BUSY);
    EXPECT_EQ(sum_of_two([this] { return usb3->close_grab_device(grab); }), NUV_BACKEND_BAD_HANDLE);
    EXPECT_EQ(bits(), NUV_STATUS_PRESENT);
}

TEST_F(Devices, CameraUnpluggedWhileOpenStaysListedUntilItIsClosed) {
    ASSERT_EQ(open_grab(), 0U);
    CNuv_grab* const unplugged = grab;
    scan("");
    EXPECT_EQ(bits(), NUV_STATUS_GRAB_OPEN);
    EXPECT_EQ(open_com(), NUV_BACKEND_UNPLUGGED);
    scan(camera("b", 5));
    EXPECT_EQ(open_grab(), 0U) << "the present one with this serial number";
    EXPECT_EQ(bits("b"), grab_open);
    EXPECT_EQ(usb3->close_grab_device(unplugged), 0U);
    EXPECT_EQ(listed().size(), 1U);
}

TEST_F(Devices, CameraPulledOutDuringASlowOpenIsClosedAgain) {
    write_inventory(camera("a", 5, "open_delay_ms=300"));
    unsigned int code = 0;
    std::thread opener([&] { code = open_grab(); });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    scan("");
    opener.join();
    EXPECT_EQ(code, NUV_BACKEND_UNPLUGGED);
    EXPECT_EQ(grab, nullptr);
    EXPECT_TRUE(listed().empty());
}

TEST_F(Devices, LivingHolderKeepsOthersOutAndADeadOneIsFreed) {
    nuv_test::Process other = other_process({5});
    EXPECT_EQ(open_grab(), NUV_BACKEND_BUSY);
    EXPECT_EQ(open_com(), NUV_BACKEND_BUSY);
    scan();
    EXPECT_EQ(holder(), other.pid());
    other.kill_and_wait();
    ASSERT_EQ(open_com(), 0U) << "an open frees it";
    EXPECT_EQ(bits(), NUV_STATUS_PRESENT | NUV_STATUS_COM_OPEN);
    EXPECT_EQ(holder(), getpid());
    EXPECT_EQ(usb3->close_com_device(com), 0U);

    other_process({5}).kill_and_wait();
    scan();
    EXPECT_EQ(bits(), NUV_STATUS_PRESENT) << "a scan frees it";
    EXPECT_EQ(holder(), 0);
    EXPECT_TRUE(record.contains("died with a camera open"));

    other_process({5}).kill_and_wait();
    scan("");
    EXPECT_TRUE(listed().empty());
}

TEST_F(Devices, DestructionClosesItsOwnAndTheLastOneDeletesTheEntries) {
    write_inventory(camera("a", 5) + camera("b", 6));
    nuv_test::Process other = other_process({6});
    EXPECT_EQ(users(), 2U);
    ASSERT_EQ(open_grab(), 0U);
    usb3.reset();
    EXPECT_EQ(users(), 1U);
    EXPECT_EQ(bits("a"), NUV_STATUS_PRESENT);
    EXPECT_EQ(bits("b"), grab_open | NUV_STATUS_COM_OPEN);
    other.signal(SIGTERM);
    EXPECT_EQ(other.wait(), 0);
    EXPECT_EQ(users(), 0U);
    EXPECT_TRUE(listed().empty());
}

TEST_F(Devices, OpensClosesAndScansOfManyThreadsEndWithNothingOpen) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this] {
            for (int round = 0; round < 50; ++round) {
                CNuv_grab* mine = nullptr;
                if (usb3->open_grab_device(5, &mine) == 0) {
                    EXPECT_EQ(usb3->close_grab_device(mine), 0U);
                }
                EXPECT_EQ(scan(), 0U);
            }
        });
    }
    for (std::thread& one : threads) {
        one.join();
    }
    EXPECT_EQ(bits(), NUV_STATUS_PRESENT);
    EXPECT_EQ(holder(), 0);
}

}  // namespace
