#include "registry/registry_world.h"
#include "support/faults.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace registry_test {
namespace {

using nuv_test::Call;

const std::string ended = "M2 ~CNuv_shm_manager:\n";
const std::string left = "M2 close_shm: munmap done\nM2 close_shm: close m_hMem done\n";
const std::string destroyed =
    "M2 close_shm: sem_destroy 'sem_rw' done\nM2 close_shm: sem_destroy 'sem_update' done\n";

class Detach : public Registry_test {};

TEST_F(Detach, OnlyTheLastRemovesTheRegionInWhateverOrder) {
    std::size_t order[] = {0, 1, 2};
    do {
        std::unique_ptr<CNuv_shm_manager> managers[] = {attached_manager(), attached_manager(),
                                                        attached_manager()};
        managers[order[0]].reset();
        EXPECT_EQ(lines(), ended + counted("close_shm", 2) + left);
        managers[order[1]].reset();
        EXPECT_EQ(lines(), ended + counted("close_shm", 1) + left);
        EXPECT_TRUE(region_exists());
        managers[order[2]].reset();
        EXPECT_EQ(lines(), ended + counted("close_shm", 0) + destroyed + left +
                               "M2 close_shm: shm_unlink done\n");
        EXPECT_FALSE(region_exists());
    } while (std::next_permutation(std::begin(order), std::end(order)));
}

TEST_F(Detach, HappensOnce) {
    const auto manager = attached_manager();
    EXPECT_EQ(manager->close_shm(), 0U);
    EXPECT_EQ(manager->m_hMem, -1);
    EXPECT_EQ(manager->devlist_shm, nullptr);
    EXPECT_EQ(manager->sema_rw, nullptr);
    EXPECT_EQ(manager->sema_update, nullptr);
    record.clear();
    EXPECT_EQ(manager->close_shm(), 0U);
    EXPECT_EQ(lines(), "");
    EXPECT_EQ(manager->Initialize(), NUV_ERROR_INIT);
}

TEST_F(Detach, GivesBackWhatTheThreadStillHolds) {
    auto holder = attached_manager();
    const auto other = attached_manager();
    holder->sema_update->wait();
    holder->sema_rw->wait();
    holder->sema_rw->wait();
    record.clear();
    holder.reset();
    EXPECT_EQ(lines(), ended + posted + "S2 post: no sem_post wait_called 1\n" + posted +
                           counted("close_shm", 1) + left);
    EXPECT_EQ(value_of(*other->sema_rw), 1);
    EXPECT_EQ(value_of(*other->sema_update), 1);
}

TEST_F(Detach, LeavesAStaleRegistryUncountedWhenItsSemaphoreIsLost) {
    const auto other = attached_manager();
    auto leaving = attached_manager();
    ASSERT_EQ(other->sema_rw->trywait(), 0);
    other->devlist_shm->time_stamp = 1;
    leaving.reset();
    EXPECT_EQ(lines(), ended + left);
    EXPECT_EQ(+other->devlist_shm->opencount, 2);
    sem_post(other->sema_rw->sem);
}

TEST_F(Detach, AttachedNeighbourKeepsTheRegionWhateverTheCount) {
    auto leaving = attached_manager();
    auto neighbour = attached_manager();
    neighbour->devlist_shm->opencount = 1;
    leaving.reset();
    EXPECT_TRUE(region_exists());
    EXPECT_EQ(+neighbour->devlist_shm->opencount, 0);
    neighbour.reset();
    EXPECT_FALSE(region_exists());
}

TEST_F(Detach, ManagersOfARemovedRegionLeaveTheNewOneAlone) {
    auto old_creator = attached_manager();
    auto old_member = attached_manager();
    ASSERT_EQ(unlink(REGION_FILE), 0);
    auto newcomer = attached_manager();
    old_creator.reset();
    old_member.reset();
    EXPECT_TRUE(region_exists());
    EXPECT_EQ(+newcomer->devlist_shm->opencount, 1);
}

// Its number may be that of another thread's descriptor by then, whose locks it would drop.
TEST_F(Detach, TouchesNoDescriptorThatItHasClosed) {
    static int descriptor;
    static int touched_after_close = 0;
    std::unique_ptr<CNuv_shm_manager> managers[] = {attached_manager(), attached_manager()};
    for (auto& manager : managers) {
        descriptor = manager->m_hMem;
        nuv_test::Faults faults;
        faults.before(Call::fcntl, [](int) {
            struct stat status {};
            touched_after_close += fstat(descriptor, &status) != 0 ? 1 : 0;
        });
        manager.reset();
        EXPECT_GT(faults.calls(Call::fcntl), 0);
        EXPECT_EQ(touched_after_close, 0);
    }
}

}  // namespace
}  // namespace registry_test
