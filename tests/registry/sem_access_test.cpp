#include "registry/listens.h"
#include "registry/registry_world.h"
#include "support/faults.h"

#include <atomic>
#include <cerrno>
#include <thread>

namespace registry_test {
namespace {

using nuv_test::Call;

class Sem_access : public Registry_test {
protected:
    Sem_access() {
        EXPECT_EQ(sem_init(&semaphore, 0, 1), 0);
        access.SetLog(log.get());
        access.set_general_bits(NUV_BIT_LOG_SEM_ACCESS);
    }
    ~Sem_access() override { sem_destroy(&semaphore); }

    sem_t semaphore{};
    CNuv_sem_access access{&semaphore};
};

TEST_F(Sem_access, NestsForItsHolder) {
    EXPECT_EQ(access.wait(), 0);
    EXPECT_EQ(access.t_id, static_cast<std::uint64_t>(pthread_self()));
    EXPECT_EQ(access.wait(), 0);
    EXPECT_EQ(access.post(), 0);
    EXPECT_EQ(value_of(access), 0);
    EXPECT_EQ(access.post(), 0);
    EXPECT_EQ(access.t_id, 0U);
    EXPECT_EQ(access.post(), 0);
    EXPECT_EQ(value_of(access), 1);
    EXPECT_EQ(lines(),
              "S2 wait: sem_wait returned 0 wait_called 1 t_id ME\n"
              "S2 wait: no sem_wait called wait_called 2 t_id ME\n"
              "S2 post: no sem_post wait_called 1\n"
              "S2 post: sem_post returned 0 wait_called 0\n"
              "S2 post: error sem_post\n");
}

TEST_F(Sem_access, AnotherThreadWaitsForTheOutermostPost) {
    nuv_test::Faults faults;
    std::atomic<bool> acquired{false};
    access.wait();
    access.wait();
    std::thread other([&] {
        access.wait();
        acquired = true;
        access.post();
    });
    while (faults.calls(Call::sem_wait) < 2) {
        std::this_thread::yield();
    }
    access.post();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_FALSE(acquired);
    access.post();
    other.join();
    EXPECT_TRUE(acquired);
}

TEST_F(Sem_access, WaitGoesOnAfterASignalAndEndsAtAnyOtherError) {
    nuv_test::Faults faults;
    faults.fail_nth(Call::sem_wait, 1, EINTR);
    EXPECT_EQ(access.wait(), 0);
    access.post();
    faults.fail_nth(Call::sem_wait, 1, EINVAL);
    EXPECT_EQ(access.wait(), -1);
    EXPECT_EQ(access.wait_called, 0);
    EXPECT_EQ(lines(),
              "S2 wait: sem_wait returned -1 ernno 4 Interrupted system call\n"
              "S2 wait: sem_wait returned 0 wait_called 1 t_id ME\n"
              "S2 post: sem_post returned 0 wait_called 0\n"
              "S2 wait: sem_wait returned -1 ernno 22 Invalid argument\n"
              "S2 wait: return with error -1\n");
}

TEST_F(Sem_access, TrywaitKeepsNoBooks) {
    EXPECT_EQ(access.trywait(), 0);
    EXPECT_EQ(access.trywait(), -1);
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_EQ(access.wait_called, 0);
    CNuv_sem_access nothing(nullptr);
    EXPECT_EQ(nothing.trywait(), -1);
    EXPECT_EQ(nothing.wait(), -1);
    EXPECT_EQ(lines(), "");
}

TEST_F(Sem_access, LongLineOfTheManagerIsCutAndThatOfAWrapperIsNot) {
    const std::string text(400, 'x');
    const auto manager = make_manager();
    manager->writelog(1, "%s: %s", "op", (text + "%n").c_str());
    access.writelog(1, "%s: %s", "op", text.c_str());
    manager->writelog(2, "%s: %s", "op", "100%s of %n and %%");
    const std::string cut = ("CNuv_shm_manager::op: " + text).substr(0, 299);
    EXPECT_EQ(record.texts(), (std::vector<std::string>{
                                  cut, "op: " + text, "CNuv_shm_manager::op: 100%s of %n and %%"}));
}

TEST_F(Sem_access, ArgumentsAreEvaluatedOnlyForListeners) {
    int evaluated = 0;
    const auto count = [&evaluated] { return ++evaluated; };
    CNuv_shm_manager manager(log.get(), ~NUV_BIT_LOG_SHM_MANAGER);
    const auto write_through_both = [&] {
        NUV_LOG(manager, NUV_LOG_TRACE, "%s: %d", "op", count());
        NUV_LOG(access, NUV_LOG_TRACE, "%s: %d", "op", count());
        access.writelog(NUV_LOG_TRACE, "op");
        manager.writelog(NUV_LOG_TRACE, "op");
    };
    access.set_general_bits(~NUV_BIT_LOG_SEM_ACCESS);
    write_through_both();
    manager.add_general_bits(NUV_BIT_LOG_SHM_MANAGER | 0x3);
    manager.SetLog(nullptr);
    access.set_general_bits(NUV_BIT_LOG_SEM_ACCESS);
    access.SetLog(nullptr);
    write_through_both();
    EXPECT_EQ(evaluated, 0);
    EXPECT_EQ(lines(), "");
    manager.SetLog(log.get());
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: %d", "op", count());
    EXPECT_EQ(lines(), "M2 op: 1\n");
    manager.set_general_bits(0x3);
    manager.remove_general_bits(NUV_BIT_LOG_SHM_MANAGER | 0x1);
    EXPECT_EQ(manager.general_bits, 0x2U);
}

}  // namespace
}  // namespace registry_test
