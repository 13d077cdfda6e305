// Joining a region that another manager uses.
#include "registry/registry_world.h"
#include "support/faults.h"

#include <unistd.h>

#include <cerrno>

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

std::string counted_in(int opencount) {
    return "M2 open_shm: sem_wait 'sem_rw' done\n"
           "M2 open_shm: shm->opencount " +
           std::to_string(opencount) +
           " processid MINE\n"
           "M2 open_shm: sem_post 'sem_rw' done\n";
}

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

TEST_F(Attach, CountsInAndKeepsItsWrappersSilent) {
    region->time_stamp = NOW - 10;
    const auto second = make_manager();
    EXPECT_EQ(second->Initialize(), NUV_NOERROR);
    EXPECT_EQ(lines(), found + mapped +
                           "M2 time_stamp_timeout: time_stamp difference 10 2000000000 "
                           "1999999990\n" +
                           counted_in(2));
    EXPECT_EQ(+region->time_stamp, NOW);
    EXPECT_EQ(value_of(*second->sema_rw), 1);
    const std::string beat = "M80000 update_time_stamp: time_stamp now 2000000000\n";
    second->update_time_stamp();
    EXPECT_EQ(lines(), beat);
    first->update_time_stamp();
    EXPECT_EQ(lines(), "S2 wait: sem_wait returned 0 wait_called 1 t_id ME\n" + beat +
                           "S2 post: sem_post returned 0 wait_called 0\n");
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
    EXPECT_EQ(lines(), found + mapped + stale + cleared + counted_in(1) + reported);
    EXPECT_TRUE(second->init_done);
    EXPECT_EQ(value_of(*second->sema_rw), 1);
    EXPECT_EQ(value_of(*second->sema_update), 0);
    expected.sem_rw = region->sem_rw;
    EXPECT_TRUE(same(*region, expected));
}

TEST_F(Attach, StampInTheFutureIsStale) {
    region->time_stamp = NOW + 1;
    EXPECT_EQ(make_manager()->Initialize(), NUV_DIFFTIME_OUT);
}

TEST_F(Attach, ToleranceIsLimited) {
    const std::pair<unsigned int, unsigned int> cases[] = {
        {0, 4}, {3, 4}, {4, 4}, {3600, 3600}, {4000, 3600}};
    for (const auto& [seconds, stored] : cases) {
        first->set_difftime(seconds);
        EXPECT_EQ(first->m_difftime, stored);
        EXPECT_EQ(lines(), "M2 set_difftime: m_difftime set to " + std::to_string(stored) + "\n");
    }
}

TEST_F(Attach, PublicStalenessTestStoresTheTime) {
    EXPECT_FALSE(make_manager(0)->time_stamp_timeout());
    region->time_stamp = NOW - 11;
    EXPECT_TRUE(first->time_stamp_timeout());
    EXPECT_FALSE(first->time_stamp_timeout());
    EXPECT_EQ(lines(), stale + fresh);
}

TEST_F(Attach, StampIsNotRefreshedBeforeTheManagerIsCounted) {
    static std::int64_t seen = 0;
    region->time_stamp = NOW - 9;
    nuv_test::Faults faults;
    faults.before(Call::sem_clockwait,
                  [](int number) { seen = number == 1 ? region->time_stamp : seen; });
    ASSERT_EQ(make_manager()->Initialize(), NUV_NOERROR);
    EXPECT_EQ(seen, NOW - 9);
    EXPECT_EQ(+region->time_stamp, NOW);
}

TEST_F(Attach, RegistryThatGoesStaleDuringAWaitIsCleared) {
    static int late = 0;
    const std::string cases[] = {stale + cleared + counted_in(1),
                                 counted_in(1) + stale + cleared};  // in the wrapper's turn
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

TEST_F(Attach, FailingStepReleasesEverything) {
    const struct {
        Call call;
        int number;
        int error;
        unsigned int result;
        std::string traced_last;
    } cases[] = {
        {Call::shm_open, 1, EACCES, NUV_ERROR_INIT,
         "M2 Initialize: OpenFileMapping NAME failed Permission denied\n"},
        {Call::shm_open, 2, EMFILE, NUV_ERROR_NOMEMORY,
         "M1 open_shm: OpenFileMapping NAME failed Too many open files return "
         "NUV_ERROR_NOMEMORY\n"},
        {Call::mmap, 1, ENOMEM, NUV_ERROR_NOMEMORY,
         "M1 open_shm: mmap failed Cannot allocate memory return NUV_ERROR_NOMEMORY\n"
         "M2 open_shm: close hdlMem done\n"
         "M2 open_shm: shm_unlink done\n"},
    };
    for (const auto& [call, number, error, result, traced_last] : cases) {
        {
            nuv_test::Faults faults;
            faults.fail_nth(call, number, error);
            EXPECT_EQ(make_manager()->Initialize(), result);
        }
        EXPECT_PRED2(has, lines(), traced_last + "M2 ~CNuv_shm_manager:\n");
        EXPECT_EQ(region_exists(), call != Call::mmap);
        EXPECT_EQ(+region->opencount, 1);
    }
}

}  // namespace
}  // namespace registry_test
