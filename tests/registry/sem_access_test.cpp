#include "registry/listens.h"
#include "registry/registry_world.h"
#include "support/faults.h"

#include <cerrno>
#include <future>

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

TEST_F(Sem_access, AnotherThreadWaitsForTheOutermostPost) {
    access.wait();
    access.wait();
    auto other = std::async(std::launch::async, [this] {
        access.wait();
        return access.post();
    });
    access.post();
    EXPECT_EQ(other.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    access.post();
    EXPECT_EQ(other.get(), 0);
}

TEST_F(Sem_access, WaitGoesOnAfterASignalAndEndsAtAnyOtherError) {
    nuv_test::Faults faults;
    faults.fail_nth(Call::sem_wait, 1, EINTR);
    EXPECT_EQ(access.wait(), 0);
    access.post();
    EXPECT_EQ(lines(),
              "S2 wait: sem_wait returned -1 ernno 4 Interrupted system call\n"
              "S2 wait: sem_wait returned 0 wait_called 1 t_id ME\n"
              "S2 post: sem_post returned 0 wait_called 0\n");
    faults.fail_nth(Call::sem_wait, 1, EINVAL);
    EXPECT_EQ(access.wait(), -1);
    EXPECT_EQ(access.wait_called, 0);
    EXPECT_EQ(lines(),
              "S2 wait: sem_wait returned -1 ernno 22 Invalid argument\n"
              "S2 wait: return with error -1\n");
}

TEST_F(Sem_access, StrayWriteIntoASemaphoreEndsNobody) {
    const auto holder = attached_manager(0);
    const auto waiter = attached_manager(0);
    const auto write_beside_the_counters = [&holder] {
        std::memset(reinterpret_cast<char*>(holder->sema_rw->sem) + 8, 0x5A, 4);
    };
    holder->sema_rw->wait();
    write_beside_the_counters();
    auto waits = std::async(std::launch::async, [&waiter] { waiter->update_time_stamp(); });
    EXPECT_EQ(waits.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    write_beside_the_counters();
    holder->sema_rw->post();
    waits.get();
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

TEST_F(Sem_access, LineOfTheManagerIsPlainTextOf299CharactersAndThatOfAWrapperIsNotCut) {
    const std::string text = "%s%n of %%" + std::string(400, '%');
    const auto manager = make_manager();
    manager->writelog(1, "%s: %s", "op", text.c_str());
    access.writelog(1, "%s: %s", "op", text.c_str());
    EXPECT_EQ(record.texts(),
              (std::vector<std::string>{("CNuv_shm_manager::op: " + text).substr(0, 299),
                                        "op: " + text}));
}

TEST_F(Sem_access, ArgumentsAreEvaluatedOnlyForListeners) {
    int evaluated = 0;
    CNuv_shm_manager manager(log.get(), ~NUV_BIT_LOG_SHM_MANAGER);
    access.set_general_bits(~NUV_BIT_LOG_SEM_ACCESS);
    const auto write_through_both = [&] {
        NUV_LOG(manager, NUV_LOG_TRACE, "%s: %d", "op", ++evaluated);
        NUV_LOG(access, NUV_LOG_TRACE, "%s: %d", "op", ++evaluated);
        access.writelog(NUV_LOG_TRACE, "direct");
    };
    write_through_both();
    for (CNuv_Log* const any : {static_cast<CNuv_Log*>(nullptr), log.get()}) {
        EXPECT_EQ(evaluated, 0);
        manager.add_general_bits(NUV_BIT_LOG_SHM_MANAGER | 0x3);
        access.set_general_bits(NUV_BIT_LOG_SEM_ACCESS);
        manager.SetLog(any);
        access.SetLog(any);
        write_through_both();
    }
    EXPECT_EQ(lines(), "M2 op: 1\nS2 op: 2\nS2 direct\n");
    manager.set_general_bits(0x3);
    manager.remove_general_bits(NUV_BIT_LOG_SHM_MANAGER | 0x1);
    EXPECT_EQ(manager.general_bits, 0x2U);
}

}  // namespace
}  // namespace registry_test
