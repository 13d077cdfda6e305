#include "registry/device_world.h"

#include <nuv/result.h>

namespace registry_test {
namespace {

class Device_changes : public Device_test {};

TEST_F(Device_changes, IdsCountUpwards) {
    unsigned int id = 0;
    EXPECT_EQ(manager->get_next_id(id), NUV_NOERROR);
    EXPECT_EQ(id, 1U);
    EXPECT_EQ(manager->get_next_id(id), NUV_NOERROR);
    EXPECT_EQ(id, 2U);
    EXPECT_EQ(lines(), (Lines{"M2 get_next_id: id 1", "M2 get_next_id: id 2"}));
    EXPECT_EQ(peek<unsigned int>(AT_ID_COUNTER), 3U);
}

TEST_F(Device_changes, RecordIsStoredUnchangedUntilTheListIsFull) {
    NUV_Device odd = device(0, 5, 9, 0);
    std::memset(odd.backend_data, 0xEE, sizeof odd.backend_data);
    odd.entry_mark = 0x7777;
    EXPECT_EQ(manager->set_nuvdevice_to_free_listentry(odd), NUV_NOERROR);
    EXPECT_EQ(lines(), Lines{"M2 set_nuvdevice_to_free_listentry: list at 0"});
    EXPECT_TRUE(same(entry(0), odd));
    for (unsigned int id = 1; id < 128; ++id) {
        list(device(id, 0));
    }
    EXPECT_TRUE(same(entry(127), device(127, 0)));
    const auto before = region_bytes();
    EXPECT_EQ(manager->set_nuvdevice_to_free_listentry(odd), NUV_ERROR_NOMEMORY);
    EXPECT_EQ(lines(), Lines{"M1 set_nuvdevice_to_free_listentry: no free listentry found"});
    EXPECT_EQ(region_bytes(), before);
}

TEST_F(Device_changes, FullListIsReportedAfterThePost) {
    auto traced = make_manager();
    const auto after_last = [&] {
        const Lines all = lines();
        return Lines(all.end() - 2, all.end());
    };
    manager->close_shm();
    ASSERT_EQ(traced->Initialize(), NUV_NOERROR);
    traced->set_nuvdevice_to_free_listentry(device(1, 1));
    EXPECT_EQ(after_last(), (Lines{"M2 set_nuvdevice_to_free_listentry: list at 0",
                                   "S2 post: sem_post returned 0 wait_called 0"}));
    for (unsigned int id = 2; id < 130; ++id) {
        traced->set_nuvdevice_to_free_listentry(device(id, 1));
    }
    EXPECT_EQ(after_last(), (Lines{"S2 post: sem_post returned 0 wait_called 0",
                                   "M1 set_nuvdevice_to_free_listentry: no free listentry found"}));
}

TEST_F(Device_changes, StatusBitsOfTheFirstWithTheSerialNumber) {
    list(device(1, 10, 8, 0x1));
    list(device(2, 10, 6, 0x1));
    EXPECT_EQ(manager->add_status_bits_to_nuvdevice_from_serialnumber(10, 0xC), NUV_NOERROR);
    EXPECT_EQ(+entry(0).status_bits, 0xDU);
    EXPECT_EQ(manager->remove_status_bits_to_nuvdevice_from_serialnumber(10, 0x5), NUV_NOERROR);
    EXPECT_EQ(+entry(0).status_bits, 0x8U);
    EXPECT_EQ(+entry(1).status_bits, 0x1U);
    EXPECT_EQ(lines(), (Lines{"M2 add_status_bits_to_nuvdevice_from_serialnumber: device with id 1 "
                              "serial 10 status bits 0xc added",
                              "M2 remove_status_bits_to_nuvdevice_from_serialnumber: device with "
                              "id 1 serial 10 status bits 0x5 removed"}));
    EXPECT_EQ(manager->add_status_bits_to_nuvdevice_from_serialnumber(11, 1), NUV_ERROR_NOT_FOUND);
    EXPECT_EQ(manager->remove_status_bits_to_nuvdevice_from_serialnumber(11, 1),
              NUV_ERROR_NOT_FOUND);
    EXPECT_EQ(lines(), Lines());
    EXPECT_EQ(manager->add_status_bits_to_nuvdevice_from_serialnumber(0, 0x2), NUV_NOERROR);
    EXPECT_EQ(+entry(2).status_bits, 0x2U);
}

TEST_F(Device_changes, NamesAreCutAt63Characters) {
    list(device(1, 10));
    const std::string cut(63, 'n');
    const struct {
        unsigned int (CNuv_shm_manager::*update)(unsigned int, char*);
        std::size_t offset;
        std::string trace;
    } cases[] = {
        {&CNuv_shm_manager::update_interfacename_of_nuvdevice_from_serialnumber,
         offsetof(NUV_Device, interfacename),
         "M2 update_interfacename_of_nuvdevice_from_serialnumber: device with id 1 serial 10 new "
         "interfce name "},
        {&CNuv_shm_manager::update_cameraname_of_nuvdevice_from_serialnumber,
         offsetof(NUV_Device, cameraname),
         "M2 update_cameraname_of_nuvdevice_from_serialnumber: device with id 1 serial 10 new "
         "camera name "},
    };
    for (const auto& [update, offset, trace] : cases) {
        std::string name(100, 'n');
        EXPECT_EQ((manager.get()->*update)(10, name.data()), NUV_NOERROR);
        EXPECT_EQ(name, cut + '\0' + std::string(36, 'n'));
        EXPECT_EQ(lines(), Lines{trace + cut});
        const NUV_Device stored = entry(0);
        EXPECT_EQ(std::memcmp(reinterpret_cast<const char*>(&stored) + offset, name.data(), 64), 0);
        EXPECT_EQ((manager.get()->*update)(11, name.data()), NUV_ERROR_NOT_FOUND);
        EXPECT_EQ((manager.get()->*update)(10, nullptr), NUV_ERROR_NOT_FOUND);
        EXPECT_EQ(lines(), Lines());
    }
    EXPECT_EQ(+entry(0).extended_info, 0U);
    EXPECT_EQ(+entry(0).nuv_iftype, 8U);
}

TEST_F(Device_changes, ExtendedInfoGoesToTypeAndSerialNumber) {
    list(device(1, 10));
    list(device(2, 10, 6));
    manager->set_extended_info(6, 10, 0x1122334455667788);
    manager->set_extended_info(0x10008, 10, 1);
    manager->set_extended_info(6, 11, 1);
    EXPECT_EQ(lines(), Lines());
    EXPECT_EQ(peek<std::uint64_t>(84 + 164 + 22), 0x1122334455667788U);
    EXPECT_EQ(+entry(0).extended_info, 0U);
}

TEST_F(Device_changes, NotAttachedManagerTouchesNothing) {
    CNuv_shm_manager detached(log.get(), LOG_BITS);
    NUV_Device out = device(1, 2);
    const NUV_Device before = out;
    int count = 5;
    unsigned int id = 6;
    char name[64] = "name";
    std::vector<NUV_Device> devices;
    const unsigned int answers[] = {
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
    };
    for (const unsigned int answer : answers) {
        EXPECT_EQ(answer, NUV_ERROR_NOMEMORY);
    }
    detached.set_extended_info(0, 0, 1);
    detached.get_devlist_if(0, devices);
    EXPECT_EQ(detached.is_nuvdevice_in_devlist(0, 0), 0);
    EXPECT_TRUE(same(out, before));
    EXPECT_EQ(count, 5);
    EXPECT_EQ(id, 6U);
    EXPECT_TRUE(devices.empty());
    EXPECT_EQ(lines(), Lines());
}

}  // namespace
}  // namespace registry_test
