// The base class of the back-ends, through the least back-end there can be.
#include "registry/device_world.h"
#include "support/faults.h"

#include <nuv/interface.h>

#include <nuvkit/ini.h>

#include <cerrno>

namespace registry_test {
namespace {

class Least_backend : public CNuv_interface {
public:
    Least_backend(CNuv_Log* log, unsigned int bits, std::uint16_t type)
        : CNuv_interface(log, bits) {
        if_type = type;
    }
    unsigned int initialize() override { return 0; }
    unsigned int find_devices(std::vector<NUV_Device>& /*found*/) override { return 0; }
    unsigned int update_devices_in_shmlist() override { return 0; }
    unsigned int open_grab_device(unsigned int, CNuv_grab**) override { return 0; }
    unsigned int close_grab_device(CNuv_grab*) override { return 0; }
    unsigned int open_com_device(unsigned int, CNuv_com**) override { return 0; }
    unsigned int close_com_device(CNuv_com*) override { return 0; }
};

constexpr std::uint16_t TYPE = 8;

class Interface : public Registry_test {
protected:
    std::unique_ptr<Least_backend> backend(unsigned int bits, std::uint16_t type = TYPE) {
        return std::make_unique<Least_backend>(log.get(), bits, type);
    }
    /// A back-end that writes its own lines only.
    std::unique_ptr<Least_backend> quiet_backend(std::uint16_t type = TYPE) {
        auto made = backend(0, type);
        made->set_general_bits(NUV_BIT_LOG_INTERFACE);
        record.clear();
        return made;
    }
    static void unreachable(nuv_test::Faults& faults) {
        faults.fail_always(nuv_test::Call::shm_open, EACCES);
    }
};

const std::string NEW = "40000000 2 CNuv_interface::CNuv_interface: ";  // no type yet
const std::string USB3 = "40080000 2 CNuv_interface::";

TEST_F(Interface, AttachesAndDetachesItsOwnManagerWithItsOwnLines) {
    auto made = backend(LOG_BITS | NUV_BIT_LOG_INTERFACE);
    const Lines opened = {"M2 create_shm: CreateFileMapping NAME size 21464 done hMem FD"};
    Lines probe = probe_of_nothing();
    probe[0] = "M2 Initialize: general_bits found 0x70000000";
    EXPECT_EQ(lines(), Lines{NEW + "create Nuv_shm_manager for CNuv_interface 0x70000000"} + probe +
                           opened + creation());
    EXPECT_TRUE(made->shm_valid());
    EXPECT_EQ(made->ciflog, nullptr);
    EXPECT_EQ(made->cini, nullptr);
    EXPECT_EQ(made->backend_byte, 0);
    EXPECT_STREQ(made->backend_text_a, "");
    EXPECT_STREQ(made->backend_text_b, "");
    made->cini = std::make_unique<CNuv_ini>("nuv_devicemgr");
    made.reset();
    EXPECT_EQ(lines(),
              Lines{USB3 + "~CNuv_interface: delete shm_mgr of CNuv_interface"} + detaching(0));
}

TEST_F(Interface, DifftimeBitBecomesAFlag) {
    const auto made = backend(0x41000000);
    EXPECT_TRUE(made->difftime_out);
    EXPECT_EQ(made->general_bits, 0x40000000U);
    EXPECT_EQ(made->shm_mgr->general_bits, 0x40000000U);
    EXPECT_EQ(lines(), Lines{NEW + "create Nuv_shm_manager for CNuv_interface 0x40000000"});
    const auto silent = backend(0x01000000);
    EXPECT_TRUE(silent->difftime_out);
    EXPECT_EQ(silent->general_bits, 0U);
    EXPECT_EQ(lines(), Lines());
    const auto other = backend(0);
    EXPECT_EQ(other->set_general_bits(0x01000000), 0);
    EXPECT_FALSE(other->difftime_out);
    EXPECT_EQ(other->general_bits, 0x01000000U);
    EXPECT_EQ(other->shm_mgr->general_bits, 0U);
}

TEST_F(Interface, SetLogAsksTheNewLogForItsBits) {
    const auto made = quiet_backend();
    const auto another = nuv_test::make_log();
    made->SetLog(another.get());
    ASSERT_EQ(record.lines().size(), 1U);
    EXPECT_EQ(record.lines()[0].log, another.get());
    EXPECT_EQ(lines(), Lines{USB3 + "SetLog: clog PTR loglevel 0xffffffff"});
    EXPECT_EQ(made->shm_mgr->clog, log.get());
    made->SetLog(nullptr);
    EXPECT_EQ(made->clog, nullptr);
    made->delete_devices_in_shmlist();
    EXPECT_EQ(lines(), Lines());
}

TEST_F(Interface, OwnLogComesFirstAndOpensTheOtherOne) {
    const auto made = quiet_backend();
    const auto own = nuv_test::make_log();
    made->set_general_bits(0);
    made->writelogb(2, "%s: nobody hears it", "op");
    made->ciflog = own.get();
    made->writelogb(8, "%s: to both", "op");
    const auto both = record.lines();
    ASSERT_EQ(both.size(), 2U);
    EXPECT_EQ(both[0].log, own.get());
    EXPECT_EQ(both[1].log, log.get());
    EXPECT_EQ(lines(), Lines(2, "40080000 8 CNuv_interface_cif::op: to both"));
    made->SetLog(nullptr);
    made->writelogb(2, "%s: to one", "op");
    EXPECT_EQ(lines(), Lines{"40080000 2 CNuv_interface_cif::op: to one"});
}

TEST_F(Interface, LineIsPlainTextOf299Characters) {
    const auto made = quiet_backend();
    const std::string text(298 - std::strlen("CNuv_interface::op: "), 'x');
    made->writelogb(2, "%s: %s", "op", (text + "%s%n" + text).c_str());
    EXPECT_EQ(lines(), Lines{USB3 + "op: " + text + "%"});
    const auto own = nuv_test::make_log();
    made->ciflog = own.get();
    made->SetLog(nullptr);
    record.clear();
    made->writelogb(2, "%s: %s", "op", std::string(400, '%').c_str());
    ASSERT_EQ(record.lines().size(), 1U);
    EXPECT_EQ(record.lines()[0].text,
              ("CNuv_interface_cif::op: " + std::string(400, '%')).substr(0, 299));
}

TEST_F(Interface, DeletesTheDevicesOfItsTypeAndTheirNumbers) {
    const auto made = quiet_backend();
    const auto put = [](int index, NUV_Device entry) {
        entry.entry_mark = 0x1234;
        entry.extended_info = 0x1122334455667788;
        std::memset(entry.backend_data, 0xBB, sizeof entry.backend_data);
        entry.backend_word_a = 1;
        entry.backend_word_b = 2;
        std::memset(entry.cameraname, 'c', sizeof entry.cameraname);
        std::memset(entry.interfacename, 'i', sizeof entry.interfacename);
        entry.interfacename[0] = '%';
        poke(AT_DEVICES + 164 * static_cast<long>(index), entry);
        return entry;
    };
    put(3, device(5, 50));
    const NUV_Device other = put(4, device(6, 60, 6));
    put(40, device(9, 90, TYPE, 0));
    put(41, device(65536 + 6, 1));
    const std::uint16_t numbers[] = {5, 6, 0, 0, 0, 0, 0, 5};
    write_region(AT_NUM_LIST, numbers, sizeof numbers);
    poke<std::uint16_t>(AT_NUM_LIST + 2 * 127, 9);

    EXPECT_EQ(made->shm_wait(), 0);
    EXPECT_EQ(made->delete_devices_in_shmlist(), 0);
    EXPECT_EQ(made->shm_post(), 0);
    const std::string op = USB3 + "delete_devices_in_shmlist: ";
    const std::string name = " for %" + std::string(63, 'i');
    EXPECT_EQ(lines(), (Lines{op + "found nuvdevice[3] with id 5" + name,
                              op + "found nuv_num_list[0] with nuv_num 5",
                              op + "found nuv_num_list[7] with nuv_num 5",
                              op + "found nuvdevice[40] with id 9" + name,
                              op + "found nuv_num_list[127] with nuv_num 9",
                              op + "found nuvdevice[41] with id 65542" + name, op + "end"}));
    NUV_Device cleared{};
    cleared.entry_mark = 0x1234;
    cleared.extended_info = 0x1122334455667788;
    for (const int index : {3, 40, 41}) {
        EXPECT_EQ(std::memcmp(&made->shm_mgr->devlist_shm->nuvdevice[index], &cleared, 164), 0);
    }
    EXPECT_EQ(std::memcmp(&made->shm_mgr->devlist_shm->nuvdevice[4], &other, 164), 0);
    EXPECT_EQ(peek<std::uint64_t>(AT_NUM_LIST), 0x60000U);
    EXPECT_EQ(peek<std::uint64_t>(AT_NUM_LIST + 8), 0U);
    EXPECT_EQ(value_of(*made->shm_mgr->sema_rw), 1);
}

TEST_F(Interface, WithoutATypeEveryFreeEntryIsItsOwn) {
    const auto made = quiet_backend(0);
    ASSERT_EQ(made->shm_mgr->set_nuvdevice_to_free_listentry(device(1, 1)), 0U);
    EXPECT_EQ(made->delete_devices_in_shmlist(), 0);
    // 127 entries with id 0, each of which has every empty number for its own.
    EXPECT_EQ(record.lines().size(), 127U * (1 + 128) + 1);
    EXPECT_EQ(made->shm_mgr->is_nuvdevice_in_devlist(8, 1), 1);
}

TEST_F(Interface, LocksAndCountsThroughItsManager) {
    const auto made = quiet_backend();
    EXPECT_EQ(made->shm_wait(), 0);
    EXPECT_EQ(made->shm_wait(), 0);
    EXPECT_EQ(made->shm_increase_opencount(TYPE), 1);
    EXPECT_EQ(made->shm_increase_opencount(TYPE), 2);
    EXPECT_EQ(made->shm_decrease_opencount(TYPE), 1);
    EXPECT_EQ(made->shm_mgr->sema_rw->wait_called, 2);
    EXPECT_EQ(made->shm_post(), 0);
    EXPECT_EQ(value_of(*made->shm_mgr->sema_rw), 0);
    EXPECT_EQ(made->shm_post(), 0);
    EXPECT_EQ(value_of(*made->shm_mgr->sema_rw), 1);
}

TEST_F(Interface, WithoutARegionNothingIsTouched) {
    std::unique_ptr<Least_backend> made;
    {
        nuv_test::Faults faults;
        unreachable(faults);
        made = quiet_backend();
    }
    EXPECT_FALSE(made->shm_valid());
    EXPECT_EQ(made->shm_wait(), -1);
    EXPECT_EQ(made->shm_post(), -1);
    EXPECT_EQ(made->shm_increase_opencount(TYPE), 0xFFFF);
    EXPECT_EQ(made->shm_decrease_opencount(TYPE), 0xFFFF);
    EXPECT_EQ(made->delete_devices_in_shmlist(), 0);
    EXPECT_EQ(lines(), Lines{USB3 + "delete_devices_in_shmlist: end"});
    EXPECT_FALSE(region_exists());
}

}  // namespace
}  // namespace registry_test
