// Joining a region that another manager uses.
#include "registry/registry_world.h"
#include "support/faults.h"

namespace registry_test {
namespace {

using nuv_test::Call;

const std::string fresh = "M2 time_stamp_timeout: time_stamp difference 0 2000000000 2000000000\n";
const std::string stale =
    R"(M2 time_stamp_timeout: time_stamp difference 11 2000000000 1999999989
M1 time_stamp_timeout: time_stamp difference to high 11 > 10
)";
const std::string cleared = R"(M1 open_shm: clear list of devices
M2 open_shm: shm opencount 0 processid MINE id_counter 1
)";
const std::string reported = "M2 open_shm: difftime_timeout return 0xc0003005\n";

// Of that region; for the hooks as well, which take no context.
NUV_Devlist_Shm* region = nullptr;
sem_t* sem_rw = nullptr;

class Attach : public Registry_test {
protected:
    Attach() {
        region = first->devlist_shm;
        sem_rw = first->sema_rw->sem;
    }
    const std::unique_ptr<CNuv_shm_manager> first = attached_manager();
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
    const std::string looked =
        "M2 time_stamp_timeout: time_stamp difference 10 2000000000 1999999990\n";
    EXPECT_PRED2(has, lines(), found + mapped + looked + counted("open_shm", 2) + "M2 ~");
}

TEST_F(Attach, HeartbeatIsWrittenUnderTheSemaphoreWhoseWrapperIsSilent) {
    const auto second = attached_manager();
    const std::string beat = "M80000 update_time_stamp: time_stamp now 2000000000\n";
    region->time_stamp = 1;
    first->update_time_stamp();
    EXPECT_EQ(+region->time_stamp, NOW);
    second->update_time_stamp();
    EXPECT_EQ(lines(), waited + beat + posted + beat);
}

TEST_F(Attach, StaleRegistryIsClearedAndReported) {
    ASSERT_EQ(first->sema_rw->trywait(), 0);  // as a dead process would
    ASSERT_EQ(first->sema_update->trywait(), 0);
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
    EXPECT_EQ(lines(), found + mapped + stale + cleared + counted("open_shm", 1) + reported);
    EXPECT_TRUE(second->init_done);
    EXPECT_EQ(value_of(*second->sema_rw), 1);
    EXPECT_EQ(value_of(*second->sema_update), 0);
    expected.sem_rw = region->sem_rw;
    EXPECT_TRUE(same(*region, expected));
}

TEST_F(Attach, StalenessIsADifferenceOfMoreThanTheTolerance) {
    EXPECT_FALSE(make_manager(0)->time_stamp_timeout());
    region->time_stamp = NOW + 1;
    EXPECT_TRUE(first->time_stamp_timeout());
    record.clear();
    region->time_stamp = NOW - 11;
    EXPECT_TRUE(first->time_stamp_timeout());
    EXPECT_FALSE(first->time_stamp_timeout());  // the time was stored
    EXPECT_EQ(lines(), stale + fresh);
    const std::pair<unsigned int, unsigned int> tolerances[] = {
        {0, 4}, {3, 4}, {4, 4}, {3600, 3600}, {4000, 3600}};
    for (const auto& [seconds, stored] : tolerances) {
        first->set_difftime(seconds);
        EXPECT_EQ(first->m_difftime, stored);
        EXPECT_EQ(lines(), "M2 set_difftime: m_difftime set to " + std::to_string(stored) + "\n");
    }
}

TEST_F(Attach, RegistryThatGoesStaleDuringAWaitIsCleared) {
    static int late = 0;
    const std::string cases[] = {
        stale + cleared + counted("open_shm", 1),
        counted("open_shm", 1) + stale + cleared};  // in the wrapper's turn
    for (const std::string& traced : cases) {
        ++late;
        record.clear();
        const auto newcomer = make_manager();
        nuv_test::Faults faults;
        faults.before(Call::sem_clockwait, [](int number) {
            if (number == late) {
                sem_trywait(sem_rw);
                region->time_stamp = NOW - 11;
            }
        });
        EXPECT_EQ(newcomer->Initialize(), NUV_DIFFTIME_OUT);
        EXPECT_EQ(lines(), found + mapped + fresh + traced + reported);
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

}  // namespace
}  // namespace registry_test
