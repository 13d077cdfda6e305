// Real processes that die or fork while attached.
#include "registry/registry_world.h"
#include "support/child_process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>

namespace registry_test {
namespace {

using nuv_test::Child;
using nuv_test::Register_role;
using Arguments = std::vector<std::string>;

/// Stays with both semaphores held until it is killed.
const Register_role holds("hold_semaphores", [](const Arguments& /*arguments*/) {
    CNuv_shm_manager manager;
    manager.Initialize();
    manager.sema_update->wait();
    manager.sema_rw->wait();
    std::printf("held\n");
    std::cin.get();
    return 1;
});

/// Attaches and forks. The child prints its process id and lives until its input ends.
const Register_role forks("attach_and_fork", [](const Arguments& /*arguments*/) {
    CNuv_shm_manager manager;
    manager.Initialize();
    if (fork() == 0) {
        std::printf("%d\n", getpid());
    }
    std::cin.get();
    _exit(0);
    return 0;
});

class Processes : public Registry_test {};

TEST_F(Processes, WaitersOutliveAKilledHolderAndKeepTheList) {
    const auto waiter = attached_manager();
    Child holder = Child::in_role("hold_semaphores");
    ASSERT_EQ(holder.read_line(), "held");
    EXPECT_EQ(holder.kill_and_wait(), -SIGKILL);
    EXPECT_EQ(waiter->sema_update->wait(), 0);
    EXPECT_EQ(waiter->sema_update->post(), 0);
    EXPECT_EQ(value_of(*waiter->sema_update), 1);
    waiter->devlist_shm->id_counter = 77;
    waiter->devlist_shm->time_stamp = NOW - 60;
    waiter->m_difftime = 1;
    record.clear();
    unsigned int id = 0;
    EXPECT_EQ(waiter->get_next_id(id), NUV_NOERROR);
    EXPECT_EQ(lines(), "M1 wait: sem_rw was held for too long and is freed\n" + waited +
                           "M2 get_next_id: id 77\n" + posted);
    EXPECT_EQ(value_of(*waiter->sema_rw), 1);
    EXPECT_EQ(+waiter->devlist_shm->opencount, 2);
    EXPECT_EQ(+waiter->devlist_shm->time_stamp, NOW);
}

TEST_F(Processes, ForkedChildIsNotAttachedAndDoesNotCountTheParentOut) {
    auto manager = attached_manager();
    manager->sema_update->wait();
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        unsigned int id = 0;
        const bool detached = manager->m_hMem == -1 && manager->devlist_shm == nullptr &&
                              manager->get_next_id(id) == NUV_ERROR_NOMEMORY &&
                              manager->sema_rw->wait() == -1 && manager->sema_update->post() == 0;
        CNuv_shm_manager own;
        const bool attached = own.Initialize() == NUV_NOERROR && own.devlist_shm->opencount == 2;
        own.close_shm();
        manager.reset();
        _exit(detached && attached ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(+manager->devlist_shm->opencount, 1);
    EXPECT_EQ(value_of(*manager->sema_update), 0);
    EXPECT_EQ(manager->sema_update->post(), 0);
    manager.reset();
    EXPECT_FALSE(region_exists());
}

TEST_F(Processes, LivingChildOfAKilledMemberHoldsNoPresence) {
    auto last = attached_manager();
    Child member = Child::in_role("attach_and_fork");
    const pid_t grandchild = std::stoi(member.read_line().value_or("0"));
    ASSERT_GT(grandchild, 0);
    EXPECT_EQ(member.kill_and_wait(), -SIGKILL);
    ASSERT_EQ(kill(grandchild, 0), 0);
    ASSERT_EQ(+last->devlist_shm->opencount, 2);
    last->devlist_shm->opencount = 1;
    last.reset();
    EXPECT_FALSE(region_exists());
}

}  // namespace
}  // namespace registry_test
