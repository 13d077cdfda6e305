#include "backend_world.h"

#include <nuv/result.h>

#include <nuvkit/com.h>
#include <nuvkit/grab.h>
#include <nuvkit/holder.h>

#include <unistd.h>

#include <thread>

namespace {

using namespace kit_test;

constexpr unsigned int present_and_grab = NUV_STATUS_PRESENT | NUV_STATUS_GRAB_OPEN;

class Devices : public Backend_test {
protected:
    void SetUp() override {
        Backend_test::SetUp();
        write_inventory(camera("a", 5));
        usb3 = backend();
        ASSERT_EQ(usb3->initialize(), 0U);
    }
    int holder(const std::string& name) { return nuvkit::holder_of(entry(name)).process_id; }

    std::unique_ptr<CNuv_interface_usb3> usb3;
    CNuv_grab* grab = nullptr;
    CNuv_com* com = nullptr;
};

TEST_F(Devices, OpenAndCloseSetAndClearTheBitsAndTheHolder) {
    ASSERT_EQ(usb3->open_grab_device(5, &grab), 0U);
    ASSERT_EQ(usb3->open_com_device(5, &com), 0U);
    EXPECT_EQ(grab->serialnumber, 5U);
    EXPECT_EQ(com->serialnumber, 5U);
    EXPECT_EQ(+entry("a").status_bits, present_and_grab | NUV_STATUS_COM_OPEN);
    EXPECT_EQ(holder("a"), getpid());

    CNuv_grab* second = grab;
    EXPECT_EQ(usb3->open_grab_device(5, &second), NUV_BACKEND_BUSY);
    EXPECT_EQ(second, grab) << "stored only with 0";
    EXPECT_EQ(usb3->close_grab_device(grab), 0U);
    EXPECT_EQ(usb3->close_grab_device(grab), NUV_BACKEND_BAD_HANDLE);
    EXPECT_EQ(holder("a"), getpid());
    EXPECT_EQ(usb3->close_com_device(com), 0U);
    EXPECT_EQ(+entry("a").status_bits, NUV_STATUS_PRESENT);
    EXPECT_EQ(holder("a"), 0);
}

TEST_F(Devices, WhatCannotBeOpenedOrClosedIsRefused) {
    EXPECT_EQ(usb3->open_grab_device(6, &grab), NUV_ERROR_NOT_FOUND);
    EXPECT_EQ(usb3->open_com_device(0, &com), NUV_ERROR_NOT_FOUND);
    EXPECT_EQ(usb3->open_grab_device(5, nullptr), NUV_BACKEND_BAD_HANDLE);
    EXPECT_EQ(usb3->open_com_device(5, nullptr), NUV_BACKEND_BAD_HANDLE);
    EXPECT_EQ(usb3->close_grab_device(nullptr), NUV_BACKEND_BAD_HANDLE);
    CNuv_com foreign(5);
    EXPECT_EQ(usb3->close_com_device(&foreign), NUV_BACKEND_BAD_HANDLE);
    EXPECT_EQ(+entry("a").status_bits, NUV_STATUS_PRESENT);
}

TEST_F(Devices, FailingOpenLeavesTheEntryAndFailingCloseTheHandle) {
    write_inventory(camera("a", 5, "open_result=0x80005555"));
    EXPECT_EQ(usb3->open_grab_device(5, &grab), 0x80005555U);
    EXPECT_EQ(+entry("a").status_bits, NUV_STATUS_PRESENT);

    write_inventory(camera("a", 5, "close_result=9"));
    ASSERT_EQ(usb3->open_grab_device(5, &grab), 0U);
    EXPECT_EQ(usb3->close_grab_device(grab), 9U);
    EXPECT_EQ(+entry("a").status_bits, present_and_grab);
    write_inventory(camera("a", 5));
    EXPECT_EQ(usb3->close_grab_device(grab), 0U);
}

TEST_F(Devices, HandleClosedByTwoThreadsAtOnceIsClosedOnce) {
    write_inventory(camera("a", 5, "close_delay_ms=200"));
    ASSERT_EQ(usb3->open_grab_device(5, &grab), 0U);
    unsigned int first = 1;
    std::thread closer([&] { first = usb3->close_grab_device(grab); });
    const unsigned int second = usb3->close_grab_device(grab);
    closer.join();
    EXPECT_EQ(first + second, NUV_BACKEND_BAD_HANDLE) << "the one 0, the other refused";
    EXPECT_EQ(+entry("a").status_bits, NUV_STATUS_PRESENT);
}

TEST_F(Devices, CameraUnpluggedWhileOpenStaysListedUntilItIsClosed) {
    ASSERT_EQ(usb3->open_grab_device(5, &grab), 0U);
    write_inventory("");
    usb3->update_devices_in_shmlist();
    EXPECT_EQ(+entry("a").status_bits, NUV_STATUS_GRAB_OPEN);
    EXPECT_EQ(usb3->open_com_device(5, &com), NUV_BACKEND_UNPLUGGED);
    EXPECT_EQ(usb3->close_grab_device(grab), 0U);
    EXPECT_TRUE(listed().empty());
}

TEST_F(Devices, CameraUnpluggedSinceTheScanCannotBeOpened) {
    write_inventory(camera("a", 5, "plugged=off"));
    EXPECT_EQ(usb3->open_grab_device(5, &grab), NUV_BACKEND_UNPLUGGED);
    EXPECT_EQ(+entry("a").status_bits, NUV_STATUS_PRESENT);
}

TEST_F(Devices, CameraPulledOutDuringASlowOpenIsClosedAgain) {
    write_inventory(camera("a", 5, "open_delay_ms=300"));
    unsigned int code = 0;
    std::thread opener([&] { code = usb3->open_grab_device(5, &grab); });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    write_inventory("");
    usb3->update_devices_in_shmlist();
    opener.join();
    EXPECT_EQ(code, NUV_BACKEND_UNPLUGGED);
    EXPECT_EQ(grab, nullptr);
    EXPECT_TRUE(listed().empty());
}

TEST_F(Devices, LivingHolderKeepsOthersOutAndADeadOneIsFreedAtAScan) {
    Other_process other;
    ASSERT_EQ(other.does("grab 5"), "0");
    EXPECT_EQ(holder("a"), other.pid());
    EXPECT_EQ(usb3->open_grab_device(5, &grab), NUV_BACKEND_BUSY);
    EXPECT_EQ(usb3->open_com_device(5, &com), NUV_BACKEND_BUSY);
    usb3->update_devices_in_shmlist();
    EXPECT_EQ(holder("a"), other.pid());

    other.killed();
    usb3->update_devices_in_shmlist();
    EXPECT_EQ(+entry("a").status_bits, NUV_STATUS_PRESENT);
    EXPECT_EQ(holder("a"), 0);
    EXPECT_TRUE(record.contains("died with a camera open"));
}

TEST_F(Devices, DeadHolderIsFreedByAnOpenTooAndGoneCamerasOfItAtAScan) {
    Other_process other;
    ASSERT_EQ(other.does("grab 5"), "0");
    ASSERT_EQ(other.does("com 5"), "0");
    other.killed();
    ASSERT_EQ(usb3->open_com_device(5, &com), 0U);
    EXPECT_EQ(+entry("a").status_bits, NUV_STATUS_PRESENT | NUV_STATUS_COM_OPEN);
    EXPECT_EQ(holder("a"), getpid());
    EXPECT_EQ(usb3->close_com_device(com), 0U);

    Other_process next;
    ASSERT_EQ(next.does("grab 5"), "0");
    write_inventory("");
    next.killed();
    usb3->update_devices_in_shmlist();
    EXPECT_TRUE(listed().empty());
}

TEST_F(Devices, OfTwoWithOneSerialNumberThePresentOneIsOpened) {
    write_inventory(camera("a", 5) + camera("b", 5));
    usb3->update_devices_in_shmlist();
    ASSERT_EQ(usb3->open_grab_device(5, &grab), 0U);
    write_inventory(camera("b", 5));
    usb3->update_devices_in_shmlist();
    CNuv_grab* other = nullptr;
    EXPECT_EQ(usb3->open_grab_device(5, &other), 0U);
    EXPECT_EQ(+entry("b").status_bits, present_and_grab);
    EXPECT_EQ(+entry("a").status_bits, NUV_STATUS_GRAB_OPEN);
}

TEST_F(Devices, DestructionClosesWhatIsOpenAndLeavesOthersTheirs) {
    write_inventory(camera("a", 5) + camera("b", 6));
    Other_process other;
    ASSERT_EQ(other.does("grab 6"), "0");
    ASSERT_EQ(usb3->open_grab_device(5, &grab), 0U);
    usb3.reset();
    EXPECT_EQ(users(), 1U);
    EXPECT_EQ(+entry("a").status_bits, NUV_STATUS_PRESENT);
    EXPECT_EQ(+entry("b").status_bits, present_and_grab);
    EXPECT_EQ(other.does("close"), "0");
}

TEST_F(Devices, OpensClosesAndScansOfManyThreadsEndWithNothingOpen) {
    std::string inventory;
    for (unsigned int i = 1; i <= 4; ++i) {
        inventory += camera("cam" + std::to_string(i), i);
    }
    write_inventory(inventory);
    usb3->update_devices_in_shmlist();
    std::vector<std::thread> threads;
    for (unsigned int i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < 50; ++round) {
                CNuv_grab* mine = nullptr;
                if (usb3->open_grab_device(1 + (i + static_cast<unsigned int>(round)) % 4, &mine) ==
                    0) {
                    EXPECT_EQ(usb3->close_grab_device(mine), 0U);
                }
                EXPECT_EQ(usb3->update_devices_in_shmlist(), 0U);
            }
        });
    }
    for (std::thread& one : threads) {
        one.join();
    }
    ASSERT_EQ(listed().size(), 4U);
    for (const NUV_Device& device : listed()) {
        EXPECT_EQ(+device.status_bits, NUV_STATUS_PRESENT);
        EXPECT_EQ(nuvkit::holder_of(device).process_id, 0);
    }
}

}  // namespace
