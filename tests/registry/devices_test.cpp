// The device list and the counts of users, through an attached manager and one that is not.
#include "registry/registry_world.h"
#include "support/faults.h"

#include <unistd.h>

#include <functional>
#include <limits>
#include <vector>

namespace registry_test {
namespace {

using Manager = CNuv_shm_manager;
using Look = std::function<unsigned int(Manager&, NUV_Device&)>;

class Devices : public Registry_test {
protected:
    void list(const NUV_Device& listed) {
        ASSERT_EQ(manager->set_nuvdevice_to_free_listentry(listed), NUV_NOERROR);
        record.clear();
    }
    const std::unique_ptr<Manager> manager = attached_manager(NUV_BIT_LOG_SHM_MANAGER);
    NUV_Devlist_Shm& region = *manager->devlist_shm;
};

/// A lookup by a key.
template <class Key>
Look by(unsigned int (Manager::*function)(Key, NUV_Device&), std::common_type_t<Key> key) {
    return [=](Manager& manager, NUV_Device& out) { return (manager.*function)(key, out); };
}

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
    const auto by_id = &Manager::get_nuvdevice_from_id;
    const auto by_serial = &Manager::get_nuvdevice_from_serialnumber;
    const auto by_info = &Manager::get_nuvdevice_from_extendedinfo;
    const auto by_index = &Manager::get_nuvdevice_listentry;
    const auto unused = &Manager::get_nuvdevice_unused;
    constexpr int none = -1;
    constexpr int bad_index = -2;
    const struct {
        Look look;
        int found_at;
        std::string traced;
    } cases[] = {
        {by(by_id, 7), 2, "get_nuvdevice_from_id: device with id 7 serial 70 found at 2"},
        {by(by_id, 4), 5, "get_nuvdevice_from_id: device with id 4 serial 40 found at 5"},
        {by(by_id, 0), 6, "get_nuvdevice_from_id: device with id 0 serial 0 found at 6"},
        {by(by_id, 99), none, ""},
        {by(by_serial, 70), 2,
         "get_nuvdevice_from_serialnumber: device with id 7 serial 70 found at 2"},
        {by(by_serial, 99), none, ""},
        {by(by_info, 0x1122334455667788), 2,
         "get_nuvdevice_from_extendedinfo: device with id 7 ExtendedInfo 1432778632 found at 2"},
        {by(by_info, 0x55667788), none, ""},
        {by(unused, 8), 2, "get_nuvdevice_unused: device at nuv_iftype 8 serial 70 found at 2"},
        {by(unused, 6), 4, "get_nuvdevice_unused: device at nuv_iftype 6 serial 30 found at 4"},
        {by(unused, 0), 2, "get_nuvdevice_unused: device at nuv_iftype 0 serial 70 found at 2"},
        {by(unused, 0x10008), none, ""},
        {by(by_index, 4), 4, "get_nuvdevice_listentry: device with id 3 serial 30 found at 4"},
        {by(by_index, 127), 127, "get_nuvdevice_listentry: device with id 0 serial 0 found at 127"},
        {by(by_index, -1), bad_index, ""},
        {by(by_index, 128), bad_index, ""},
        {by(by_index, std::numeric_limits<int>::min()), bad_index, ""},
    };
    for (const auto& [look, found_at, traced] : cases) {
        SCOPED_TRACE(&look - &cases[0].look);
        NUV_Device out = device(3, 4, 5, 0xFF);
        NUV_Device expected = out;
        if (found_at >= 0) {
            expected = region.nuvdevice[found_at];
        } else if (found_at == none) {
            expected.status_bits = 0;
        }
        const bool well = found_at == 127 || (found_at >= 0 && expected.status_bits != 0);
        EXPECT_EQ(look(*manager, out), well ? NUV_NOERROR : NUV_ERROR_NOT_FOUND);
        EXPECT_TRUE(same(out, expected));
        EXPECT_EQ(lines(), traced.empty() ? "" : "M2 " + traced + "\n");
    }
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
    EXPECT_PRED2(has, lines(),
                 "M2 get_nuvdevice_count: shm->opencount 1 processid MINE\n"
                 "M2 get_nuvdevice_count: mode 2 return count 3\n");
}

TEST_F(Devices, OfATypeAreAppendedUnlessMemoryRunsOut) {
    for (const NUV_Device& each : {device(1, 10), device(2, 20, 6), device(3, 30, 8, 0)}) {
        list(each);
    }
    std::vector<NUV_Device> devices(1, device(9, 90));
    nuv_test::fail_next_new();
    manager->get_devlist_if(8, devices);
    EXPECT_EQ(devices.size(), 1U);
    EXPECT_EQ(lines(), "M1 get_devlist_if: no memory for the list of devices\n");
    manager->get_devlist_if(8, devices);
    EXPECT_EQ(lines(),
              "M2 get_devlist_if: device with nuv_iftype 8 serial 10 found in list at 0\n"
              "M2 get_devlist_if: device with nuv_iftype 8 serial 30 found in list at 2\n");
    ASSERT_EQ(devices.size(), 3U);
    EXPECT_EQ(+devices[0].id, 9U);
    EXPECT_EQ(+devices[1].id, 1U);
    EXPECT_EQ(+devices[2].id, 3U);
    EXPECT_EQ(manager->is_nuvdevice_in_devlist(8, 30), 1);
    EXPECT_EQ(manager->is_nuvdevice_in_devlist(6, 30), 0);
    EXPECT_EQ(manager->is_nuvdevice_in_devlist(0x10008, 30), 0);
}

TEST_F(Devices, IdsCountUpwards) {
    for (const unsigned int expected : {1U, 2U}) {
        unsigned int id = 0;
        EXPECT_EQ(manager->get_next_id(id), NUV_NOERROR);
        EXPECT_EQ(id, expected);
    }
    EXPECT_EQ(lines(), "M2 get_next_id: id 1\nM2 get_next_id: id 2\n");
    EXPECT_EQ(+region.id_counter, 3U);
}

TEST_F(Devices, RecordIsStoredUnchangedUntilTheListIsFull) {
    manager->sema_rw->SetLog(log.get());
    manager->sema_rw->set_general_bits(NUV_BIT_LOG_SEM_ACCESS);
    NUV_Device odd = device(0, 5, 9, 0);
    odd.entry_mark = 0x7777;
    EXPECT_EQ(manager->set_nuvdevice_to_free_listentry(odd), NUV_NOERROR);
    EXPECT_EQ(lines(), waited + "M2 set_nuvdevice_to_free_listentry: list at 0\n" + posted);
    for (unsigned int id = 1; id < 128; ++id) {
        list(device(id, 0));
    }
    EXPECT_TRUE(same(region.nuvdevice[0], odd));
    EXPECT_TRUE(same(region.nuvdevice[127], device(127, 0)));
    EXPECT_EQ(manager->set_nuvdevice_to_free_listentry(odd), NUV_ERROR_NOMEMORY);
    EXPECT_EQ(lines(),
              waited + posted + "M1 set_nuvdevice_to_free_listentry: no free listentry found\n");
}

TEST_F(Devices, ChangeConcernsTheFirstWithTheSerialNumber) {
    std::string name(100, 'n');
    const std::string cut(NUV_NAME_SIZE - 1, 'n');
    const auto add = &Manager::add_status_bits_to_nuvdevice_from_serialnumber;
    const auto remove = &Manager::remove_status_bits_to_nuvdevice_from_serialnumber;
    const auto rename = &Manager::update_interfacename_of_nuvdevice_from_serialnumber;
    const auto rename_camera = &Manager::update_cameraname_of_nuvdevice_from_serialnumber;
    using Change = std::function<unsigned int(unsigned int serialnumber)>;
    const auto changing = [this](auto function, auto value) -> Change {
        return
            [=](unsigned int serialnumber) { return ((*manager).*function)(serialnumber, value); };
    };
    const struct {
        Change change;
        void (*expect)(NUV_Device&);
        std::string traced;
    } cases[] = {
        {changing(add, 0xCU), [](NUV_Device& entry) { entry.status_bits = 0xD; },
         "add_status_bits_to_nuvdevice_from_serialnumber: device with id 1 serial 10 status bits "
         "0xc added"},
        {changing(remove, 0x7U), [](NUV_Device& entry) { entry.status_bits = 0x8; },
         "remove_status_bits_to_nuvdevice_from_serialnumber: device with id 1 serial 10 status "
         "bits 0x7 removed"},
        {changing(rename, name.data()),
         [](NUV_Device& entry) { std::memset(entry.interfacename, 'n', 63); },
         "update_interfacename_of_nuvdevice_from_serialnumber: device with id 1 serial 10 new "
         "interfce name " +
             cut},
        {changing(rename_camera, name.data()),
         [](NUV_Device& entry) { std::memset(entry.cameraname, 'n', 63); },
         "update_cameraname_of_nuvdevice_from_serialnumber: device with id 1 serial 10 new camera "
         "name " +
             cut},
    };
    const NUV_Device twin = device(2, 10, 6);
    NUV_Device expected = device(1, 10);
    list(expected);
    list(twin);
    for (const auto& [change, expect, traced] : cases) {
        name.assign(100, 'n');
        expect(expected);
        EXPECT_EQ(change(11), NUV_ERROR_NOT_FOUND);
        EXPECT_EQ(change(10), NUV_NOERROR);
        EXPECT_EQ(lines(), "M2 " + traced + "\n");
        EXPECT_TRUE(same(region.nuvdevice[0], expected));
        EXPECT_TRUE(same(region.nuvdevice[1], twin));
    }
    EXPECT_EQ(name, cut + '\0' + std::string(36, 'n'));
    EXPECT_EQ(manager->update_interfacename_of_nuvdevice_from_serialnumber(10, nullptr),
              NUV_ERROR_NOT_FOUND);
    EXPECT_EQ(manager->update_cameraname_of_nuvdevice_from_serialnumber(10, nullptr),
              NUV_ERROR_NOT_FOUND);
}

TEST_F(Devices, ExtendedInfoGoesToTypeAndSerialNumber) {
    list(device(1, 10));
    list(device(2, 10, 6));
    manager->set_extended_info(6, 10, 0x1122334455667788);
    manager->set_extended_info(0x10008, 10, 1);
    manager->set_extended_info(6, 11, 1);
    EXPECT_EQ(lines(), "");
    EXPECT_EQ(+region.nuvdevice[1].extended_info, 0x1122334455667788U);
    EXPECT_EQ(+region.nuvdevice[0].extended_info, 0U);
}

TEST_F(Devices, UsersAreCountedInAndOutForEachType) {
    EXPECT_EQ(manager->increase_opencount(6), 1);
    EXPECT_EQ(manager->increase_opencount(6), 2);
    EXPECT_EQ(manager->increase_opencount(8), 1);
    EXPECT_EQ(+region.if_opencount[0].opencount, 2);
    EXPECT_PRED2(has, lines(),
                 "M2 increase_opencount: InterfaceType 6 not found create entry\n"
                 "M2 increase_opencount: return count 1\n"
                 "M2 increase_opencount: InterfaceType 6 found opencount now 2\n"
                 "M2 increase_opencount: return count 2\n");
    EXPECT_EQ(manager->decrease_opencount(6), 1);
    EXPECT_EQ(manager->decrease_opencount(6), 0);
    EXPECT_EQ(manager->decrease_opencount(6), 0);
    EXPECT_EQ(lines(),
              "M2 decrease_opencount: InterfaceType 6 found opencount now 1\n"
              "M2 decrease_opencount: return count 1\n"
              "M2 decrease_opencount: InterfaceType 6 found opencount now 0\n"
              "M2 decrease_opencount: return count 0\n"
              "M2 decrease_opencount: return count 0\n");
    EXPECT_EQ(+region.if_opencount[0].InterfaceType, 0);
    EXPECT_EQ(+region.if_opencount[1].InterfaceType, 8);
    for (unsigned short type = 100; type < 131; ++type) {
        EXPECT_EQ(manager->increase_opencount(type), 1);
    }
    EXPECT_EQ(manager->increase_opencount(131), 0);
    EXPECT_EQ(manager->increase_opencount(130), 2);
    EXPECT_EQ(+region.if_opencount[31].InterfaceType, 130);
}

TEST_F(Devices, NotAttachedManagerTouchesNothing) {
    Manager detached(log.get(), LOG_BITS);
    NUV_Device out = device(1, 2);
    int count = 5;
    unsigned int id = 6;
    char name[64] = "name";
    std::vector<NUV_Device> devices;
    for (const unsigned int answer : {
             detached.get_nuvdevice_count(4, count),
             detached.get_next_id(id),
             detached.set_nuvdevice_to_free_listentry(out),
             detached.get_nuvdevice_from_id(0, out),
             detached.get_nuvdevice_from_serialnumber(0, out),
             detached.get_nuvdevice_from_extendedinfo(0, out),
             detached.add_status_bits_to_nuvdevice_from_serialnumber(0, 1),
             detached.remove_status_bits_to_nuvdevice_from_serialnumber(0, 1),
             detached.update_interfacename_of_nuvdevice_from_serialnumber(0, name),
             detached.update_cameraname_of_nuvdevice_from_serialnumber(0, name),
             detached.get_nuvdevice_listentry(-1, out),
             detached.get_nuvdevice_unused(0, out),
         }) {
        EXPECT_EQ(answer, NUV_ERROR_NOMEMORY);
    }
    EXPECT_EQ(detached.increase_opencount(6), NUV_COUNT_NOT_ATTACHED);
    EXPECT_EQ(detached.decrease_opencount(6), NUV_COUNT_NOT_ATTACHED);
    EXPECT_EQ(detached.is_nuvdevice_in_devlist(0, 0), 0);
    EXPECT_FALSE(detached.time_stamp_timeout());
    detached.update_time_stamp();
    detached.set_extended_info(0, 0, 1);
    detached.get_devlist_if(0, devices);
    EXPECT_TRUE(same(out, device(1, 2)));
    EXPECT_EQ(count, 5);
    EXPECT_EQ(id, 6U);
    EXPECT_TRUE(devices.empty());
    EXPECT_EQ(lines(), "");
}

}  // namespace
}  // namespace registry_test
