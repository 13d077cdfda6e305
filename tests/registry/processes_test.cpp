// Real processes that come and go.
#include "registry/registry_world.h"
#include "support/child_process.h"

#include <nuv/result.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <set>

namespace registry_test {
namespace {

using nuv_test::Child;

/// Whether the region that the manager is attached to is the one that has the name.
bool is_the_named_one(const CNuv_shm_manager& manager) {
    struct stat mine {};
    struct stat named {};
    return fstat(manager.m_hMem, &mine) == 0 && stat(REGION_FILE, &named) == 0 &&
           mine.st_ino == named.st_ino;
}

/// Attaches and detaches so many times. Ends with 0 when all of it was right.
int come_and_go(const std::vector<std::string>& arguments) {
    for (int round = std::stoi(arguments.at(0)); round > 0; --round) {
        CNuv_shm_manager manager;
        if (const unsigned int result = manager.Initialize(); result != NUV_NOERROR) {
            std::printf("Initialize answered 0x%x\n", result);
            return 1;
        }
        if (!is_the_named_one(manager)) {
            std::printf("attached to a region without the name\n");
            return 2;
        }
    }
    return 0;
}
const nuv_test::Register_role comes_and_goes("come_and_go", come_and_go);

/// Prints so many ids, and stays until its input ends.
int take_ids(const std::vector<std::string>& arguments) {
    CNuv_shm_manager manager;
    manager.Initialize();
    for (int left = std::stoi(arguments.at(0)); left > 0; --left) {
        unsigned int id = 0;
        manager.get_next_id(id);
        std::printf("%u\n", id);
    }
    std::cin.get();
    return 0;
}
const nuv_test::Register_role takes_ids("take_ids", take_ids);

/// Holds both semaphores until it is killed.
int hold_semaphores(const std::vector<std::string>& /*arguments*/) {
    CNuv_shm_manager manager;
    manager.Initialize();
    manager.sema_update->wait();
    manager.sema_rw->wait();
    std::printf("held\n");
    std::cin.get();
    return 1;
}
const nuv_test::Register_role holds("hold_semaphores", hold_semaphores);

/// Attaches and forks. The child prints its process id and lives until its input ends.
int attach_and_fork(const std::vector<std::string>& /*arguments*/) {
    CNuv_shm_manager manager;
    manager.Initialize();
    if (fork() == 0) {
        std::printf("%d\n", getpid());
    }
    std::cin.get();
    _exit(0);
}
const nuv_test::Register_role attaches_and_forks("attach_and_fork", attach_and_fork);

class Processes : public Registry_test {};

TEST_F(Processes, ComingAndGoingMeetInOneRegion) {
    std::vector<Child> children;
    for (int process = 0; process < 6; ++process) {
        children.push_back(Child::in_role("come_and_go", {"60"}));
    }
    for (Child& child : children) {
        const auto complaint = child.read_line();
        EXPECT_FALSE(complaint) << *complaint;
        EXPECT_EQ(child.wait(), 0);
    }
    EXPECT_FALSE(region_exists());
}

TEST_F(Processes, IdsAreDistinctAcrossProcesses) {
    constexpr int each = 200;
    std::vector<Child> children;
    for (int process = 0; process < 3; ++process) {
        children.push_back(Child::in_role("take_ids", {std::to_string(each)}));
    }
    std::set<std::string> ids;
    for (Child& child : children) {
        for (int count = 0; count < each; ++count) {
            ids.insert(child.read_line().value_or("nothing"));
        }
    }
    EXPECT_EQ(ids.size(), 3U * each);
    EXPECT_EQ(ids.count("nothing"), 0U);
    EXPECT_EQ(opencount(), 3);
    for (Child& child : children) {
        child.close_input();
        EXPECT_EQ(child.wait(), 0);
    }
    EXPECT_FALSE(region_exists());
}

TEST_F(Processes, SemaphoreLostToAKilledProcessComesBackOnceTheStampIsStale) {
    Child holder = Child::in_role("hold_semaphores");
    ASSERT_EQ(holder.read_line(), "held");
    EXPECT_EQ(holder.kill_and_wait(), -SIGKILL);
    EXPECT_EQ(opencount(), 1);
    set_time_stamp(time_stamp() - 60);
    const auto newcomer = make_manager();
    EXPECT_EQ(newcomer->Initialize(), NUV_DIFFTIME_OUT);
    EXPECT_EQ(opencount(), 1);
    EXPECT_EQ(value_of(*newcomer->sema_rw), 1);
    EXPECT_EQ(value_of(*newcomer->sema_update), 0);
}

TEST_F(Processes, WaitersOutliveAKilledHolderAndKeepTheList) {
    const auto waiter = attached_manager();
    Child holder = Child::in_role("hold_semaphores");
    ASSERT_EQ(holder.read_line(), "held");
    EXPECT_EQ(holder.kill_and_wait(), -SIGKILL);
    poke(AT_ID_COUNTER, 77U);
    EXPECT_EQ(waiter->sema_update->wait(), 0);
    EXPECT_EQ(waiter->sema_update->post(), 0);
    EXPECT_EQ(value_of(*waiter->sema_update), 1);
    set_time_stamp(time_stamp() - 60);
    waiter->m_difftime = 1;
    record.clear();
    unsigned int id = 0;
    EXPECT_EQ(waiter->get_next_id(id), NUV_NOERROR);
    EXPECT_EQ(id, 77U);
    EXPECT_EQ(lines(),
              (Lines{"M1 wait: sem_rw was held for too long and is freed",
                     "S2 wait: sem_wait returned 0 wait_called 1 t_id ME", "M2 get_next_id: id 77",
                     "S2 post: sem_post returned 0 wait_called 0"}));
    EXPECT_EQ(value_of(*waiter->sema_rw), 1);
    EXPECT_EQ(opencount(), 2);
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
        const bool attached = own.Initialize() == NUV_NOERROR && opencount() == 2;
        own.close_shm();
        manager.reset();
        _exit(detached && attached ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(opencount(), 1);
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
    ASSERT_EQ(opencount(), 2);
    poke<std::int16_t>(AT_OPENCOUNT, 1);
    last.reset();
    EXPECT_FALSE(region_exists());
    member.close_input();
}

}  // namespace
}  // namespace registry_test
