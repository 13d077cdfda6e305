#include "registry/device_world.h"

#include <nuv/result.h>

#include <limits>

namespace registry_test {
namespace {

class Device_lookups : public Device_test {};

TEST_F(Device_lookups, CountByMode) {
    const std::string totals = "M2 get_nuvdevice_count: shm->opencount 1 processid MINE";
    const auto expect_counts = [&](const std::vector<int>& expected) {
        for (int mode = 0; mode < static_cast<int>(expected.size()); ++mode) {
            const int wanted = expected.at(static_cast<std::size_t>(mode));
            int count = -7;
            EXPECT_EQ(manager->get_nuvdevice_count(mode, count), NUV_NOERROR);
            EXPECT_EQ(count, wanted) << "mode " << mode;
            EXPECT_EQ(lines(),
                      (Lines{totals, "M2 get_nuvdevice_count: mode " + std::to_string(mode) +
                                         " return count " + std::to_string(wanted)}));
        }
    };
    expect_counts({0, 0, 0, 0, 128, 0, 0, 0});
    for (const unsigned int status : {0x0U, 0x1U, 0x5U, 0x9U, 0x8U, 0x100U}) {
        list(device(1, 1, 8, status));
    }
    expect_counts({0, 5, 3, 2, 123, 0});
}

TEST_F(Device_lookups, FindTheLowestIndexAndCopyAllOfIt) {
    NUV_Device wanted = device(7, 70);
    wanted.extended_info = 0x1122334455667788;
    wanted.backend_word_b = 9;
    std::memset(wanted.cameraname, 'c', sizeof wanted.cameraname);
    list(device(1, 1));
    list(wanted);
    NUV_Device twin = wanted;
    twin.backend_word_b = 10;
    list(twin);
    const std::string found = "device with id 7 serial 70 found at 1";
    NUV_Device out{};
    EXPECT_EQ(manager->get_nuvdevice_from_id(7, out), NUV_NOERROR);
    EXPECT_TRUE(same(out, wanted));
    EXPECT_EQ(lines(), Lines{"M2 get_nuvdevice_from_id: " + found});
    out = {};
    EXPECT_EQ(manager->get_nuvdevice_from_serialnumber(70, out), NUV_NOERROR);
    EXPECT_TRUE(same(out, wanted));
    EXPECT_EQ(lines(), Lines{"M2 get_nuvdevice_from_serialnumber: " + found});
    out = {};
    EXPECT_EQ(manager->get_nuvdevice_from_extendedinfo(0x1122334455667788, out), NUV_NOERROR);
    EXPECT_TRUE(same(out, wanted));
    EXPECT_EQ(lines(), Lines{"M2 get_nuvdevice_from_extendedinfo: device with id 7 ExtendedInfo " +
                             std::to_string(0x55667788) + " found at 1"});
    EXPECT_EQ(manager->get_nuvdevice_from_extendedinfo(0x55667788, out), NUV_ERROR_NOT_FOUND);
}

TEST_F(Device_lookups, UnknownKeyTouchesNothingButTheStatus) {
    list(device(7, 70));
    NUV_Device out = device(3, 4, 5, 0xFF);
    NUV_Device expected = out;
    expected.status_bits = 0;
    for (const auto look : {&CNuv_shm_manager::get_nuvdevice_from_id,
                            &CNuv_shm_manager::get_nuvdevice_from_serialnumber}) {
        out.status_bits = 0xFF;
        EXPECT_EQ((manager.get()->*look)(99, out), NUV_ERROR_NOT_FOUND);
        EXPECT_TRUE(same(out, expected));
    }
    EXPECT_EQ(lines(), Lines());
}

TEST_F(Device_lookups, EntryNotInUseIsCopiedAndStillNotFound) {
    list(device(7, 70, 8, 0));
    NUV_Device out{};
    EXPECT_EQ(manager->get_nuvdevice_from_id(7, out), NUV_ERROR_NOT_FOUND);
    EXPECT_TRUE(same(out, entry(0)));
    EXPECT_EQ(lines().size(), 1U);
    manager->add_status_bits_to_nuvdevice_from_serialnumber(70, 1);
    EXPECT_EQ(manager->get_nuvdevice_from_id(7, out), NUV_NOERROR);
    record.clear();
    EXPECT_EQ(manager->get_nuvdevice_from_id(0, out), NUV_ERROR_NOT_FOUND);
    EXPECT_EQ(lines(), Lines{"M2 get_nuvdevice_from_id: device with id 0 serial 0 found at 1"});
    EXPECT_EQ(+out.entry_mark, NUV_ENTRY_MARK);
}

TEST_F(Device_lookups, ListEntriesAreCopiedByIndex) {
    list(device(7, 70, 8, 0));
    NUV_Device out{};
    for (const int index : {-1, 128, std::numeric_limits<int>::min()}) {
        EXPECT_EQ(manager->get_nuvdevice_listentry(index, out), NUV_ERROR_NOT_FOUND);
    }
    EXPECT_TRUE(same(out, NUV_Device{}));
    EXPECT_EQ(lines(), Lines());
    EXPECT_EQ(manager->get_nuvdevice_listentry(0, out), NUV_NOERROR);
    EXPECT_TRUE(same(out, entry(0)));
    EXPECT_EQ(manager->get_nuvdevice_listentry(127, out), NUV_NOERROR);
    EXPECT_EQ(+out.entry_mark, NUV_ENTRY_MARK);
    EXPECT_EQ(lines(), (Lines{"M2 get_nuvdevice_listentry: device with id 7 serial 70 found at 0",
                              "M2 get_nuvdevice_listentry: device with id 0 serial 0 found at "
                              "127"}));
}

TEST_F(Device_lookups, UnusedIsPresentWithItsGrabberClosed) {
    list(device(1, 10, 8, 0x5));
    list(device(2, 20, 8, 0x8));
    list(device(3, 30, 6, 0x9));
    list(device(4, 40, 8, 0x1));
    NUV_Device out{};
    EXPECT_EQ(manager->get_nuvdevice_unused(8, out), NUV_NOERROR);
    EXPECT_EQ(+out.id, 4U);
    EXPECT_EQ(manager->get_nuvdevice_unused(0, out), NUV_NOERROR);
    EXPECT_EQ(+out.id, 3U);
    EXPECT_EQ(lines(),
              (Lines{"M2 get_nuvdevice_unused: device at nuv_iftype 8 serial 40 found at 3",
                     "M2 get_nuvdevice_unused: device at nuv_iftype 0 serial 30 found at 2"}));
    EXPECT_EQ(manager->get_nuvdevice_unused(0x10008, out), NUV_ERROR_NOT_FOUND);
    EXPECT_EQ(+out.status_bits, 0U);
    EXPECT_EQ(lines(), Lines());
}

TEST_F(Device_lookups, DevicesOfATypeAreAppended) {
    list(device(1, 10));
    list(device(2, 20, 6));
    list(device(3, 30, 8, 0));
    std::vector<NUV_Device> devices(1, device(9, 90));
    manager->get_devlist_if(8, devices);
    const Lines once = {"M2 get_devlist_if: device with nuv_iftype 8 serial 10 found in list at 0",
                        "M2 get_devlist_if: device with nuv_iftype 8 serial 30 found in list at 2"};
    EXPECT_EQ(lines(), once);
    manager->get_devlist_if(8, devices);
    ASSERT_EQ(devices.size(), 5U);
    EXPECT_EQ(+devices[0].id, 9U);
    EXPECT_EQ(+devices[3].id, 1U);
    EXPECT_EQ(+devices[4].id, 3U);
    std::vector<NUV_Device> unused;
    manager->get_devlist_if(0, unused);
    EXPECT_EQ(unused.size(), 125U);
    EXPECT_EQ(manager->is_nuvdevice_in_devlist(8, 30), 1);
    EXPECT_EQ(manager->is_nuvdevice_in_devlist(6, 30), 0);
    EXPECT_EQ(manager->is_nuvdevice_in_devlist(0x10008, 30), 0);
}

TEST_F(Device_lookups, ListStaysAsItWasWithoutMemory) {
    list(device(1, 10));
    std::vector<NUV_Device> devices(1, device(9, 90));
    largest_allocation = 4096;
    manager->get_devlist_if(8, devices);
    largest_allocation = std::numeric_limits<std::size_t>::max();
    EXPECT_EQ(devices.size(), 1U);
    EXPECT_EQ(lines(), Lines{"M1 get_devlist_if: no memory for the list of devices"});
    EXPECT_EQ(value_of(*manager->sema_rw), 1);
}

}  // namespace
}  // namespace registry_test
