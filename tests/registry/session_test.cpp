// What attached managers write to their log, in the order of a registry's life: programs built
// elsewhere read these lines.
#include "registry/registry_world.h"
#include "support/recording_log.h"

#include <pthread.h>

namespace registry_test {
namespace {

/// Every operation on devices once: what it answers, and what it gives out.
struct Use_of_devices {
    explicit Use_of_devices(CNuv_shm_manager& manager) {
        NUV_Device listed = device(1, 70);
        listed.extended_info = 0x1122334455667788;
        char name[NUV_NAME_SIZE] = "100%s";
        answers = {
            manager.get_next_id(id),
            manager.set_nuvdevice_to_free_listentry(device(9, 90, 6)),
            manager.set_nuvdevice_to_free_listentry(listed),
            manager.get_nuvdevice_from_id(1, out),
            manager.get_nuvdevice_from_serialnumber(70, out),
            manager.get_nuvdevice_from_extendedinfo(listed.extended_info, out),
            manager.get_nuvdevice_listentry(1, out),
            manager.get_nuvdevice_unused(8, out),
            manager.get_nuvdevice_count(4, count),
            manager.add_status_bits_to_nuvdevice_from_serialnumber(70, 0xC),
            manager.remove_status_bits_to_nuvdevice_from_serialnumber(70, 0x8),
            manager.update_interfacename_of_nuvdevice_from_serialnumber(70, name),
            manager.update_cameraname_of_nuvdevice_from_serialnumber(70, name),
        };
        manager.get_devlist_if(8, list);
        manager.set_extended_info(8, 70, 1);
        is_listed = manager.is_nuvdevice_in_devlist(8, 70);
        users = {manager.increase_opencount(6), manager.increase_opencount(6),
                 manager.decrease_opencount(6), manager.decrease_opencount(6),
                 manager.decrease_opencount(6)};
    }

    std::vector<unsigned int> answers;
    NUV_Device out = device(3, 4);
    unsigned int id = 6;
    int count = 5;
    std::vector<NUV_Device> list;
    int is_listed = -1;
    std::vector<unsigned short> users;
};

class Session : public Registry_test {
protected:
    static void nest(CNuv_sem_access& access) {
        EXPECT_EQ(access.wait(), 0);
        EXPECT_EQ(access.t_id, static_cast<std::uint64_t>(pthread_self()));
        EXPECT_EQ(access.wait(), 0);
        EXPECT_EQ(access.post(), 0);
        EXPECT_EQ(value_of(access), 0);
        EXPECT_EQ(access.post(), 0);
        EXPECT_EQ(access.t_id, 0U);
        EXPECT_EQ(access.post(), 0);  // one too many
        EXPECT_EQ(value_of(access), 1);
    }
};

TEST_F(Session, EachStepIsToldInOrder) {
    auto creator = make_manager();
    EXPECT_EQ(creator->Initialize(), NUV_NOERROR);
    EXPECT_EQ(creator->Initialize(), NUV_ERROR_INIT);
    NUV_Devlist_Shm& region = *creator->devlist_shm;
    region.time_stamp = NOW - 10;
    auto member = make_manager();
    EXPECT_EQ(member->Initialize(), NUV_NOERROR);
    region.time_stamp = 1;
    creator->update_time_stamp();
    EXPECT_EQ(+region.time_stamp, NOW);
    member->update_time_stamp();
    member->set_difftime(11);
    const Use_of_devices use(*creator);
    EXPECT_EQ(use.answers, std::vector<unsigned int>(13, NUV_NOERROR));
    EXPECT_EQ(use.users, (std::vector<unsigned short>{1, 2, 1, 0, 0}));
    member.reset();

    region.time_stamp = NOW - 11;
    auto newcomer = make_manager();
    EXPECT_EQ(newcomer->Initialize(), NUV_DIFFTIME_OUT);
    nest(*creator->sema_update);
    creator->sema_update->wait();
    creator->sema_rw->wait();
    creator->sema_rw->wait();
    creator.reset();  // gives back what the thread still holds
    EXPECT_EQ(value_of(*newcomer->sema_rw) + value_of(*newcomer->sema_update), 2);
    EXPECT_TRUE(region_exists()) << "the clear has forgotten its creator, but not the newcomer";
    newcomer.reset();
    EXPECT_FALSE(region_exists());
    EXPECT_EQ(lines(), nuv_test::text_of_file(DOCUMENTED_LINES "/session.log"));
}

TEST_F(Session, NotAttachedManagerTouchesNothing) {
    const auto detached = make_manager();
    const Use_of_devices use(*detached);
    EXPECT_EQ(use.answers, std::vector<unsigned int>(13, NUV_ERROR_NOMEMORY));
    EXPECT_EQ(use.users, std::vector<unsigned short>(5, NUV_COUNT_NOT_ATTACHED));
    EXPECT_TRUE(same(use.out, device(3, 4)));
    EXPECT_EQ(use.id, 6U);
    EXPECT_EQ(use.count, 5);
    EXPECT_TRUE(use.list.empty());
    EXPECT_EQ(use.is_listed, 0);
    EXPECT_FALSE(detached->time_stamp_timeout());
    detached->update_time_stamp();
    EXPECT_EQ(lines(), "");
}

}  // namespace
}  // namespace registry_test
