// Joining a region that another manager uses, also one that died.
#include "registry/registry_world.h"
#include "support/faults.h"

#include <sys/wait.h>
#include <unistd.h>

namespace registry_test {
namespace {

using nuv_test::Call;

// Of that region; for the hooks as well, which take no context.
NUV_Devlist_Shm* region = nullptr;
sem_t* sem_rw = nullptr;

class Attach : public Registry_test {
protected:
    Attach() {
        region = first->devlist_shm;
        sem_rw = first->sema_rw->sem;
    }
    /// As a process leaves it that dies with both semaphores.
    void lose_semaphores() const {
        EXPECT_EQ(first->sema_rw->trywait() + first->sema_update->trywait(), 0);
    }
    std::unique_ptr<CNuv_shm_manager> first = attached_manager();
};

TEST_F(Attach, CountsInAndRefreshesTheStampThen) {
    static std::int64_t seen = 0;
    region->time_stamp = NOW - 10;
    nuv_test::Faults faults;
    faults.before(Call::sem_clockwait,
                  [](int number) { seen = number == 1 ? region->time_stamp : seen; });
    EXPECT_EQ(make_manager()->Initialize(), NUV_NOERROR);
    EXPECT_EQ(seen, NOW - 10);
    EXPECT_EQ(+region->time_stamp, NOW);
}

TEST_F(Attach, StaleRegistryIsCleared) {
    lose_semaphores();
    NUV_Devlist_Shm expected = *region;
    std::memset(region->nuvdevice, 0xAA,
                offsetof(NUV_Devlist_Shm, id_counter) - offsetof(NUV_Devlist_Shm, nuvdevice));
    std::memset(expected.nuvdevice, 0, sizeof expected.nuvdevice);
    region->padding[0] = expected.padding[0] = 0x12;
    region->id_counter = 77;
    region->opencount = 5;
    region->processid = 1;
    region->time_stamp = NOW - 11;

    const auto second = make_manager();
    EXPECT_EQ(second->Initialize(), NUV_DIFFTIME_OUT);
    EXPECT_TRUE(second->init_done);
    EXPECT_EQ(value_of(*second->sema_rw), 1);
    EXPECT_EQ(value_of(*second->sema_update), 0);
    expected.sem_rw = region->sem_rw;
    EXPECT_TRUE(same(*region, expected));
}

TEST_F(Attach, StalenessIsADifferenceOfMoreThanTheTolerance) {
    EXPECT_FALSE(first->time_stamp_timeout());
    for (const std::int64_t stale : {NOW + 1, NOW - 11}) {
        region->time_stamp = stale;
        EXPECT_TRUE(first->time_stamp_timeout());
        EXPECT_FALSE(first->time_stamp_timeout());  // the time was stored
    }
    region->time_stamp = NOW - 10;
    EXPECT_FALSE(first->time_stamp_timeout());
    const std::pair<unsigned int, unsigned int> tolerances[] = {
        {0, 4}, {3, 4}, {4, 4}, {3600, 3600}, {4000, 3600}};
    for (const auto& [seconds, stored] : tolerances) {
        first->set_difftime(seconds);
        EXPECT_EQ(first->m_difftime, stored);
    }
}

TEST_F(Attach, RegistryThatGoesStaleDuringAWaitIsCleared) {
    static int late = 0;
    for (late = 1; late <= 2; ++late) {  // at 2 it is the wrapper that waits
        const auto newcomer = make_manager();
        nuv_test::Faults faults;
        faults.before(Call::sem_clockwait, [](int number) {
            if (number == late) {
                sem_trywait(sem_rw);
                region->time_stamp = NOW - 11;
            }
        });
        EXPECT_EQ(newcomer->Initialize(), NUV_DIFFTIME_OUT);
        EXPECT_EQ(+region->opencount, 1);
        EXPECT_EQ(value_of(*newcomer->sema_rw), 1);
    }
}

TEST_F(Attach, SurplusPostsAreTakenAway) {
    const auto post_too_often = [] {
        sem_post(sem_rw);
        sem_post(sem_rw);
    };
    post_too_often();
    const auto second = attached_manager();
    EXPECT_EQ(value_of(*first->sema_rw), 1);
    post_too_often();
    second->update_time_stamp();
    EXPECT_EQ(value_of(*first->sema_rw), 1);
}

TEST_F(Attach, WaitersOutliveADeadHolderAndKeepTheList) {
    lose_semaphores();
    EXPECT_EQ(first->sema_update->wait() + first->sema_update->post(), 0);
    EXPECT_EQ(value_of(*first->sema_update), 1);
    region->id_counter = 77;
    region->time_stamp = NOW - 60;
    first->m_difftime = 1;
    unsigned int id = 0;
    EXPECT_EQ(first->get_next_id(id), NUV_NOERROR);
    EXPECT_EQ(id, 77U);
    EXPECT_PRED2(has, lines(), "M1 wait: sem_rw was held for too long and is freed\nS2 wait: ");
    EXPECT_EQ(value_of(*first->sema_rw), 1);
    EXPECT_EQ(+region->time_stamp, NOW);
}

TEST_F(Attach, ForkedChildIsNotAttachedAndDoesNotCountTheParentOut) {
    first->sema_update->wait();
    const pid_t child = fork();
    if (child == 0) {
        unsigned int id = 0;
        const bool detached = first->m_hMem == -1 && first->devlist_shm == nullptr &&
                              first->get_next_id(id) == NUV_ERROR_NOMEMORY &&
                              first->sema_rw->wait() == -1 && first->sema_update->post() == 0;
        CNuv_shm_manager own;
        const bool attached = own.Initialize() == NUV_NOERROR && own.devlist_shm->opencount == 2;
        own.close_shm();
        first.reset();
        _exit(detached && attached ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(+region->opencount, 1);
    EXPECT_EQ(value_of(*first->sema_update), 0);
    EXPECT_EQ(first->sema_update->post(), 0);
    first.reset();
    EXPECT_FALSE(region_exists());
}

}  // namespace
}  // namespace registry_test
