// The device list and the counts of users.
#include "registry/registry_world.h"
#include "support/faults.h"

#include <limits>
#include <vector>

namespace registry_test {
namespace {

using Manager = CNuv_shm_manager;

class Devices : public Registry_test {
protected:
    void list(const NUV_Device& listed) {
        ASSERT_EQ(manager->set_nuvdevice_to_free_listentry(listed), NUV_NOERROR);
    }
    const std::unique_ptr<Manager> manager = attached_manager();
    NUV_Devlist_Shm& region = *manager->devlist_shm;
};

TEST_F(Devices, LookupsCopyTheFirstThatMatches) {
    NUV_Device wanted = device(7, 70);
    wanted.extended_info = 0x1122334455667788;
    std::memset(wanted.cameraname, 'c', sizeof wanted.cameraname);
    NUV_Device twin = wanted;
    twin.backend_word_b = 10;
    for (const NUV_Device& each : {device(1, 10, 8, 0x5), device(2, 20, 8, 0x8), wanted, twin,
                                   device(3, 30, 6, 0x9), device(4, 40, 8, 0)}) {
        list(each);
    }
    constexpr int none = -1;
    constexpr int bad_index = -2;
    const auto expect = [&](auto lookup, auto key, int found_at) {
        SCOPED_TRACE(key);
        NUV_Device out = device(3, 4, 5, 0xFF);
        NUV_Device expected = found_at >= 0 ? region.nuvdevice[found_at] : out;
        if (found_at == none) {
            expected.status_bits = 0;
        }
        const bool well = found_at == 127 || (found_at >= 0 && expected.status_bits != 0);
        EXPECT_EQ(((*manager).*lookup)(key, out), well ? NUV_NOERROR : NUV_ERROR_NOT_FOUND);
        EXPECT_TRUE(same(out, expected));
    };
    const auto by_id = &Manager::get_nuvdevice_from_id;
    expect(by_id, 7U, 2);
    expect(by_id, 4U, 5);
    expect(by_id, 0U, 6);
    expect(by_id, 99U, none);
    const auto by_serial = &Manager::get_nuvdevice_from_serialnumber;
    expect(by_serial, 70U, 2);
    expect(by_serial, 99U, none);
    const auto by_info = &Manager::get_nuvdevice_from_extendedinfo;
    expect(by_info, 0x1122334455667788U, 2);
    expect(by_info, 0x55667788U, none);
    const auto unused = &Manager::get_nuvdevice_unused;
    expect(unused, 8U, 2);
    expect(unused, 6U, 4);
    expect(unused, 0U, 2);
    expect(unused, 0x10008U, none);
    const auto by_index = &Manager::get_nuvdevice_listentry;
    expect(by_index, 4, 4);
    expect(by_index, 127, 127);
    expect(by_index, -1, bad_index);
    expect(by_index, 128, bad_index);
    expect(by_index, std::numeric_limits<int>::min(), bad_index);
}

TEST_F(Devices, AreCountedByMode) {
    for (const unsigned int status : {0x0U, 0x1U, 0x5U, 0x9U, 0x8U, 0x100U}) {
        list(device(1, 1, 8, status));
    }
    const int expected[] = {0, 5, 3, 2, 123, 0};
    for (int mode = 0; mode < 6; ++mode) {
        int count = -7;
        EXPECT_EQ(manager->get_nuvdevice_count(mode, count), NUV_NOERROR);
        EXPECT_EQ(count, expected[mode]);
    }
}

TEST_F(Devices, OfATypeAreAppendedUnlessMemoryRunsOut) {
    for (const NUV_Device& each : {device(1, 10), device(2, 20, 6), device(3, 30, 8, 0)}) {
        list(each);
    }
    std::vector<NUV_Device> devices(1, device(9, 90));
    record.clear();
    nuv_test::fail_next_new();
    manager->get_devlist_if(8, devices);
    EXPECT_EQ(lines(), "M1 get_devlist_if: no memory for the list of devices\n");
    manager->get_devlist_if(8, devices);
    ASSERT_EQ(devices.size(), 3U);
    EXPECT_EQ(+devices[0].id, 9U);
    EXPECT_EQ(+devices[1].id, 1U);
    EXPECT_EQ(+devices[2].id, 3U);
    EXPECT_EQ(manager->is_nuvdevice_in_devlist(8, 30), 1);
    EXPECT_EQ(manager->is_nuvdevice_in_devlist(6, 30), 0);
    EXPECT_EQ(manager->is_nuvdevice_in_devlist(0x10008, 30), 0);
}

TEST_F(Devices, RecordIsStoredUnchangedUntilTheListIsFull) {
    NUV_Device odd = device(0, 5, 9, 0);
    odd.entry_mark = 0x7777;
    list(odd);
    for (unsigned int id = 1; id < 128; ++id) {
        list(device(id, 0));
    }
    EXPECT_TRUE(same(region.nuvdevice[0], odd));
    EXPECT_TRUE(same(region.nuvdevice[127], device(127, 0)));
    EXPECT_EQ(manager->set_nuvdevice_to_free_listentry(odd), NUV_ERROR_NOMEMORY);
    EXPECT_PRED2(has, lines(),
                 "S2 post: sem_post returned 0 wait_called 0\n"
                 "M1 set_nuvdevice_to_free_listentry: no free listentry found\n");
}

TEST_F(Devices, ChangeConcernsTheFirstWithTheSerialNumber) {
    const NUV_Device twin = device(2, 10, 6);
    NUV_Device expected = device(1, 10);
    list(expected);
    list(twin);
    const auto expect_change = [&](auto change, auto value) {
        EXPECT_EQ(((*manager).*change)(11, value), NUV_ERROR_NOT_FOUND);
        EXPECT_EQ(((*manager).*change)(10, value), NUV_NOERROR);
        EXPECT_TRUE(same(region.nuvdevice[0], expected));
        EXPECT_TRUE(same(region.nuvdevice[1], twin));
    };
    expected.status_bits = 0xD;
    expect_change(&Manager::add_status_bits_to_nuvdevice_from_serialnumber, 0xCU);
    expected.status_bits = 0x8;
    expect_change(&Manager::remove_status_bits_to_nuvdevice_from_serialnumber, 0x7U);
    const auto rename = &Manager::update_interfacename_of_nuvdevice_from_serialnumber;
    std::string name(100, 'n');
    std::memset(expected.interfacename, 'n', 63);
    expect_change(rename, name.data());
    EXPECT_EQ(name, std::string(63, 'n') + '\0' + std::string(36, 'n'));
    const auto rename_camera = &Manager::update_cameraname_of_nuvdevice_from_serialnumber;
    name.assign(100, 'c');
    std::memset(expected.cameraname, 'c', 63);
    expect_change(rename_camera, name.data());
    EXPECT_EQ(((*manager).*rename)(10, nullptr), NUV_ERROR_NOT_FOUND);
    EXPECT_EQ(((*manager).*rename_camera)(10, nullptr), NUV_ERROR_NOT_FOUND);
}

TEST_F(Devices, ExtendedInfoGoesToTypeAndSerialNumber) {
    list(device(1, 10));
    list(device(2, 10, 6));
    manager->set_extended_info(6, 10, 0x1122334455667788);
    manager->set_extended_info(0x10008, 10, 1);
    manager->set_extended_info(6, 11, 1);
    EXPECT_EQ(+region.nuvdevice[1].extended_info, 0x1122334455667788U);
    EXPECT_EQ(+region.nuvdevice[0].extended_info, 0U);
}

TEST_F(Devices, UsersAreCountedInAndOutForEachType) {
    EXPECT_EQ(manager->increase_opencount(6), 1);
    EXPECT_EQ(manager->increase_opencount(8), 1);
    EXPECT_EQ(manager->increase_opencount(6), 2);
    EXPECT_EQ(+region.if_opencount[0].opencount, 2);
    EXPECT_EQ(manager->decrease_opencount(6), 1);
    EXPECT_EQ(manager->decrease_opencount(6), 0);
    EXPECT_EQ(+region.if_opencount[0].InterfaceType, 0);
    EXPECT_EQ(+region.if_opencount[1].InterfaceType, 8);
    for (unsigned short type = 100; type < 131; ++type) {
        EXPECT_EQ(manager->increase_opencount(type), 1);
    }
    EXPECT_EQ(manager->increase_opencount(131), 0);
    EXPECT_EQ(manager->increase_opencount(130), 2);
    EXPECT_EQ(+region.if_opencount[31].InterfaceType, 130);
}

}  // namespace
}  // namespace registry_test
