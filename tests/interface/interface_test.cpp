// The base class of the back-ends, through the least back-end there can be.
#include "registry/registry_world.h"
#include "support/faults.h"
#include "support/recording_log.h"

#include <nuv/interface.h>

#include <cerrno>

namespace registry_test {
namespace {

constexpr std::uint16_t TYPE = 8;

class Least_backend : public CNuv_interface {
public:
    using CNuv_interface::CNuv_interface;
    unsigned int initialize() override { return 0; }
    unsigned int find_devices(std::vector<NUV_Device>& /*found*/) override { return 0; }
    unsigned int update_devices_in_shmlist() override { return 0; }
    unsigned int open_grab_device(unsigned int, CNuv_grab**) override { return 0; }
    unsigned int close_grab_device(CNuv_grab*) override { return 0; }
    unsigned int open_com_device(unsigned int, CNuv_com**) override { return 0; }
    unsigned int close_com_device(CNuv_com*) override { return 0; }
};

class Interface : public Registry_test {
protected:
    std::unique_ptr<Least_backend> backend(unsigned int bits) {
        auto made = std::make_unique<Least_backend>(log.get(), bits);
        made->if_type = TYPE;
        return made;
    }
    /// A back-end that writes its own lines only.
    std::unique_ptr<Least_backend> quiet_backend() {
        auto made = backend(0);
        made->set_general_bits(NUV_BIT_LOG_INTERFACE);
        record.clear();
        return made;
    }
};

const std::string USB3 = "40080000 2 CNuv_interface::";

TEST_F(Interface, AttachesAndDetachesItsOwnManagerAndTurnsABitIntoAFlag) {
    auto made = backend(NUV_BIT_LOG_INTERFACE | NUV_BIT_LOG_SHM_MANAGER | NUV_BIT_DIFFTIME_OUT);
    EXPECT_PRED2(has, lines(),
                 "40000000 2 CNuv_interface::CNuv_interface: "
                 "create Nuv_shm_manager for CNuv_interface 0x60000000\n"
                 "M2 Initialize: general_bits found 0x60000000\n");
    EXPECT_TRUE(made->shm_valid());
    EXPECT_TRUE(made->difftime_out);
    EXPECT_EQ(made->general_bits, 0x60000000U);
    EXPECT_EQ(made->set_general_bits(NUV_BIT_LOG_INTERFACE | NUV_BIT_DIFFTIME_OUT), 0);
    EXPECT_EQ(made->general_bits, 0x41000000U);
    EXPECT_EQ(made->shm_mgr->general_bits, 0x60000000U);
    made.reset();
    EXPECT_PRED2(has, lines(),
                 USB3 +
                     "~CNuv_interface: delete shm_mgr of CNuv_interface\n"
                     "M2 ~CNuv_shm_manager:\n");
    EXPECT_FALSE(region_exists());
    EXPECT_FALSE(backend(0)->difftime_out);
}

TEST_F(Interface, OwnLogComesFirstAndOpensTheOtherOne) {
    const auto made = quiet_backend();
    const auto another = nuv_test::make_log();
    const auto own = nuv_test::make_log();
    made->SetLog(another.get());
    EXPECT_EQ(lines(), USB3 + "SetLog: clog PTR loglevel 0xffffffff\n");
    EXPECT_EQ(made->shm_mgr->clog, log.get());
    made->set_general_bits(0);
    made->ciflog = own.get();
    made->writelogb(8, "%s: to both", "op");
    ASSERT_EQ(record.lines().size(), 2U);
    EXPECT_EQ(record.lines()[0].log, own.get());
    const std::string line = "40080000 8 CNuv_interface_cif::op: to both\n";
    EXPECT_EQ(lines(), line + line);
    made->SetLog(nullptr);
    made->writelogb(2, "%s: to one", "op");
    EXPECT_EQ(lines(), "40080000 2 CNuv_interface_cif::op: to one\n");
    made->ciflog = nullptr;
    made->set_general_bits(NUV_BIT_LOG_INTERFACE);
    made->writelogb(2, "%s: nobody hears it", "op");
    EXPECT_EQ(lines(), "");
}

TEST_F(Interface, DeletesTheDevicesOfItsTypeAndTheirNumbers) {
    const auto made = quiet_backend();
    NUV_Devlist_Shm& region = *made->shm_mgr->devlist_shm;
    const std::string name = "%" + std::string(NUV_NAME_SIZE - 1, 'i');
    const auto put = [&](int index, unsigned int id, std::uint16_t type) {
        NUV_Device& entry = region.nuvdevice[index];
        std::memset(static_cast<void*>(&entry), 0xBB, sizeof entry);
        entry.id = id;
        entry.nuv_iftype = type;
        std::memcpy(entry.interfacename, name.data(), NUV_NAME_SIZE);
    };
    put(3, 5, TYPE);
    put(4, 6, 6);
    put(41, 65536 + 6, TYPE);
    const NUV_Device other = region.nuvdevice[4];
    region.nuv_num_list[0] = region.nuv_num_list[127] = 5;
    region.nuv_num_list[1] = 6;

    made->shm_mgr->sema_rw->SetLog(log.get());
    made->shm_mgr->sema_rw->set_general_bits(NUV_BIT_LOG_SEM_ACCESS);
    EXPECT_EQ(made->delete_devices_in_shmlist(), 0);
    EXPECT_EQ(lines(), nuv_test::text_of_file(DOCUMENTED_LINES "/deletion.log"));
    NUV_Device cleared{};
    cleared.entry_mark = 0xBBBB;
    cleared.extended_info = 0xBBBBBBBBBBBBBBBB;
    EXPECT_TRUE(same(region.nuvdevice[3], cleared));
    EXPECT_TRUE(same(region.nuvdevice[4], other));
    EXPECT_TRUE(same(region.nuvdevice[41], cleared));
    EXPECT_EQ(region.nuv_num_list[0] + region.nuv_num_list[127], 0);
    EXPECT_EQ(region.nuv_num_list[1], 6);
}

TEST_F(Interface, LocksAndCountsThroughItsManagerWhereThereIsARegion) {
    const auto made = quiet_backend();
    EXPECT_EQ(made->shm_wait(), 0);
    EXPECT_EQ(value_of(*made->shm_mgr->sema_rw), 0);
    EXPECT_EQ(made->shm_increase_opencount(TYPE), 1);
    EXPECT_EQ(made->shm_increase_opencount(TYPE), 2);
    EXPECT_EQ(made->shm_decrease_opencount(TYPE), 1);
    EXPECT_EQ(made->shm_post(), 0);
    EXPECT_EQ(value_of(*made->shm_mgr->sema_rw), 1);

    nuv_test::Faults faults;
    faults.fail_always(nuv_test::Call::shm_open, EACCES);
    const auto detached = quiet_backend();
    EXPECT_FALSE(detached->shm_valid());
    EXPECT_EQ(detached->shm_wait() + detached->shm_post(), -2);
    EXPECT_EQ(detached->shm_increase_opencount(TYPE), NUV_COUNT_NOT_ATTACHED);
    EXPECT_EQ(detached->shm_decrease_opencount(TYPE), NUV_COUNT_NOT_ATTACHED);
    EXPECT_EQ(detached->delete_devices_in_shmlist(), 0);
    EXPECT_EQ(lines(), USB3 + "delete_devices_in_shmlist: end\n");
}

}  // namespace
}  // namespace registry_test
