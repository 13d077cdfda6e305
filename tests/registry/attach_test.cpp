#include "registry/registry_world.h"
#include "support/faults.h"

#include <nuv/result.h>

#include <cerrno>

namespace registry_test {
namespace {

using nuv_test::Call;

const Lines cleared = {"M1 open_shm: clear list of devices",
                       "M2 open_shm: shm opencount 0 processid MINE id_counter 1"};
const Lines reported = {"M2 open_shm: difftime_timeout return 0xc0003005"};
const Lines fresh = {"M2 time_stamp_timeout: time_stamp difference 0 2000000000 2000000000"};
const Lines stale = {"M2 time_stamp_timeout: time_stamp difference 11 2000000000 1999999989",
                     "M1 time_stamp_timeout: time_stamp difference to high 11 > 10"};

/// Another manager is attached before.
class Attach : public Registry_test {
protected:
    const Stopped_clock clock;
    const std::unique_ptr<CNuv_shm_manager> first = attached_manager();
};

CNuv_shm_manager* neighbour = nullptr;  // for the hooks, which take no context

TEST_F(Attach, CountsInAndKeepsItsWrappersSilent) {
    set_time_stamp(NOW - 10);
    const auto second = make_manager();
    EXPECT_EQ(second->Initialize(), NUV_NOERROR);
    EXPECT_EQ(lines(),
              opening() +
                  Lines{"M2 time_stamp_timeout: time_stamp difference 10 2000000000 1999999990"} +
                  counting_in(2));
    EXPECT_EQ(time_stamp(), NOW);
    EXPECT_EQ(value_of(*second->sema_rw), 1);
    second->update_time_stamp();
    EXPECT_EQ(lines(), Lines{"M80000 update_time_stamp: time_stamp now 2000000000"});
    first->update_time_stamp();
    EXPECT_EQ(lines(), (Lines{"S2 wait: sem_wait returned 0 wait_called 1 t_id ME",
                              "M80000 update_time_stamp: time_stamp now 2000000000",
                              "S2 post: sem_post returned 0 wait_called 0"}));
}

TEST_F(Attach, StaleRegistryIsClearedAndReported) {
    ASSERT_EQ(first->sema_rw->wait(), 0);  // as a dead process would
    ASSERT_EQ(first->sema_update->wait(), 0);
    const std::vector<unsigned char> junk(AT_ID_COUNTER - AT_DEVICES, 0xAA);
    write_region(AT_DEVICES, junk.data(), junk.size());
    poke(AT_ID_COUNTER, 77U);
    poke<std::int16_t>(AT_OPENCOUNT, 5);
    poke(AT_PROCESSID, 1);
    poke(4, 0x12345678);
    set_time_stamp(NOW - 11);
    record.clear();

    const auto second = make_manager();
    EXPECT_EQ(second->Initialize(), NUV_DIFFTIME_OUT);
    EXPECT_EQ(lines(), opening() + stale + cleared + counting_in(1) + reported);
    EXPECT_TRUE(second->init_done);
    EXPECT_EQ(peek<std::uint16_t>(AT_VERSION), 0x0101);
    EXPECT_EQ(opencount(), 1);
    EXPECT_EQ(peek<int>(4), 0x12345678);
    EXPECT_EQ(time_stamp(), NOW);
    EXPECT_EQ(peek<int>(AT_PROCESSID), getpid());
    EXPECT_EQ(value_of(*second->sema_rw), 1);
    EXPECT_EQ(value_of(*second->sema_update), 0);
    const std::vector<unsigned char> bytes = region_bytes();
    EXPECT_EQ(std::vector<unsigned char>(bytes.begin() + AT_DEVICES, bytes.begin() + AT_ID_COUNTER),
              std::vector<unsigned char>(junk.size()));
    EXPECT_EQ(peek<unsigned int>(AT_ID_COUNTER), 1U);
}

TEST_F(Attach, StampInTheFutureIsStale) {
    set_time_stamp(NOW + 1);
    EXPECT_EQ(make_manager(0)->Initialize(), NUV_DIFFTIME_OUT);
}

TEST_F(Attach, ToleranceIsLimited) {
    const auto manager = make_manager();
    const std::pair<unsigned int, unsigned int> cases[] = {
        {0, 4}, {3, 4}, {4, 4}, {3600, 3600}, {4000, 3600}};
    for (const auto& [seconds, stored] : cases) {
        manager->set_difftime(seconds);
        EXPECT_EQ(manager->m_difftime, stored);
        EXPECT_EQ(lines(), Lines{"M2 set_difftime: m_difftime set to " + std::to_string(stored)});
    }
    set_time_stamp(NOW - 3600);
    EXPECT_EQ(manager->Initialize(), NUV_NOERROR);
}

TEST_F(Attach, PublicStalenessTestStoresTheTime) {
    EXPECT_FALSE(make_manager(0)->time_stamp_timeout());
    set_time_stamp(NOW - 11);
    EXPECT_TRUE(first->time_stamp_timeout());
    EXPECT_FALSE(first->time_stamp_timeout());
    EXPECT_EQ(lines(), stale + fresh);
    EXPECT_EQ(time_stamp(), NOW);
}

TEST_F(Attach, StampIsNotRefreshedBeforeTheManagerIsCounted) {
    static std::int64_t seen;
    set_time_stamp(NOW - 9);
    const auto second = make_manager();
    nuv_test::Faults faults;
    faults.before(Call::sem_clockwait,
                  [](int number) { seen = number == 1 ? time_stamp() : seen; });
    ASSERT_EQ(second->Initialize(), NUV_NOERROR);
    EXPECT_EQ(seen, NOW - 9);
    EXPECT_EQ(time_stamp(), NOW);
}

TEST_F(Attach, RegistryThatGoesStaleDuringTheWaitIsCleared) {
    neighbour = first.get();
    const auto second = make_manager();
    const Lines cleared_late = stale + cleared;
    {
        nuv_test::Faults faults;
        faults.before(Call::sem_clockwait, [](int number) {
            if (number == 1) {
                neighbour->sema_rw->trywait();
                set_time_stamp(NOW - 11);
            }
        });
        EXPECT_EQ(second->Initialize(), NUV_DIFFTIME_OUT);
    }
    EXPECT_EQ(lines(), opening() + fresh + cleared_late + counting_in(1) + reported);

    const auto third = make_manager();
    nuv_test::Faults faults;
    faults.before(Call::sem_clockwait, [](int number) {
        if (number == 2) {  // between counting in and the wrapper's turn
            neighbour->sema_rw->trywait();
            set_time_stamp(NOW - 11);
        }
    });
    EXPECT_EQ(third->Initialize(), NUV_DIFFTIME_OUT);
    EXPECT_EQ(lines(), opening() + fresh + counting_in(2) + cleared_late + reported);
    EXPECT_EQ(opencount(), 1);
    EXPECT_EQ(value_of(*third->sema_rw), 1);
}

TEST_F(Attach, SurplusPostsAreTakenAway) {
    for (int post = 0; post < 3; ++post) {
        sem_post(first->sema_rw->sem);
    }
    const auto second = attached_manager();
    EXPECT_EQ(value_of(*first->sema_rw), 1);
    sem_post(first->sema_rw->sem);
    second->update_time_stamp();
    EXPECT_EQ(value_of(*first->sema_rw), 1);
    sem_post(first->sema_rw->sem);
    set_time_stamp(NOW - 11);
    EXPECT_EQ(make_manager()->Initialize(), NUV_DIFFTIME_OUT);
    EXPECT_EQ(value_of(*first->sema_rw), 1);
}

TEST_F(Attach, FailingStepReleasesEverything) {
    const struct {
        Call call;
        int number;
        int error;
        unsigned int result;
        bool keeps_name;
        Lines expected;
    } cases[] = {
        {Call::shm_open,
         1,
         EACCES,
         NUV_ERROR_INIT,
         true,
         {opening()[0], "M2 Initialize: OpenFileMapping NAME failed Permission denied"}},
        {Call::shm_open,
         2,
         EMFILE,
         NUV_ERROR_NOMEMORY,
         true,
         {opening()[0],
          "M1 open_shm: OpenFileMapping NAME failed Too many open files return "
          "NUV_ERROR_NOMEMORY"}},
        {Call::mmap,
         1,
         ENOMEM,
         NUV_ERROR_NOMEMORY,
         false,
         {opening()[0], opening()[1],
          "M1 open_shm: mmap failed Cannot allocate memory return NUV_ERROR_NOMEMORY",
          "M2 open_shm: close hdlMem done", "M2 open_shm: shm_unlink done"}},
    };
    for (const auto& [call, number, error, result, keeps_name, expected] : cases) {
        auto failed = make_manager();
        {
            nuv_test::Faults faults;
            faults.fail_nth(call, number, error);
            EXPECT_EQ(failed->Initialize(), result);
        }
        EXPECT_EQ(lines(), expected);
        EXPECT_EQ(region_exists(), keeps_name);
        EXPECT_EQ(+first->devlist_shm->opencount, 1);
        failed.reset();
        EXPECT_EQ(lines(), Lines{"M2 ~CNuv_shm_manager:"});
    }
}

}  // namespace
}  // namespace registry_test
