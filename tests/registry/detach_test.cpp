#include "registry/registry_world.h"
#include "support/faults.h"

#include <nuv/result.h>

#include <sys/stat.h>

#include <algorithm>
#include <array>

namespace registry_test {
namespace {

using nuv_test::Call;

class Detach : public Registry_test {};

TEST_F(Detach, OnlyTheLastRemovesTheRegionInWhateverOrder) {
    std::array<int, 3> order = {0, 1, 2};
    do {
        std::array<std::unique_ptr<CNuv_shm_manager>, 3> managers;
        for (auto& manager : managers) {
            manager = attached_manager();
        }
        for (int left = 2; left >= 0; --left) {
            managers.at(static_cast<std::size_t>(order.at(static_cast<std::size_t>(left)))).reset();
            EXPECT_EQ(lines(), detaching(left));
            EXPECT_EQ(region_exists(), left > 0);
        }
    } while (std::next_permutation(order.begin(), order.end()));
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
    EXPECT_EQ(lines(), Lines());
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
    Lines expected = detaching(1);
    const Lines posts = {"S2 post: sem_post returned 0 wait_called 0",
                         "S2 post: no sem_post wait_called 1",
                         "S2 post: sem_post returned 0 wait_called 0"};
    expected.insert(expected.begin() + 1, posts.begin(), posts.end());
    EXPECT_EQ(lines(), expected);
    EXPECT_EQ(value_of(*other->sema_rw), 1);
    EXPECT_EQ(value_of(*other->sema_update), 1);
}

TEST_F(Detach, LeavesAStaleRegistryUncountedWhenItsSemaphoreIsLost) {
    const auto other = attached_manager();
    auto leaving = attached_manager();
    ASSERT_EQ(other->sema_rw->trywait(), 0);
    set_time_stamp(1);
    leaving.reset();
    EXPECT_EQ(lines(), (Lines{"M2 ~CNuv_shm_manager:", "M2 close_shm: munmap done",
                              "M2 close_shm: close m_hMem done"}));
    EXPECT_EQ(opencount(), 2);
    sem_post(other->sema_rw->sem);
}

TEST_F(Detach, AttachedNeighbourKeepsTheRegionWhateverTheCount) {
    auto leaving = attached_manager();
    auto neighbour = attached_manager();
    poke<std::int16_t>(AT_OPENCOUNT, 1);
    leaving.reset();
    EXPECT_TRUE(region_exists());
    EXPECT_EQ(opencount(), 0);
    neighbour.reset();
    EXPECT_FALSE(region_exists());
}

// Its number may be that of another thread's descriptor by then, whose locks it would drop.
TEST_F(Detach, TouchesNoDescriptorThatItHasClosed) {
    static int descriptor;
    static int touched_after_close;
    auto leaving = attached_manager();
    auto last = attached_manager();
    for (auto* manager : {&leaving, &last}) {
        descriptor = (*manager)->m_hMem;
        touched_after_close = 0;
        nuv_test::Faults faults;
        faults.before(Call::fcntl, [](int) {
            struct stat status {};
            touched_after_close += fstat(descriptor, &status) != 0 ? 1 : 0;
        });
        manager->reset();
        EXPECT_GT(faults.calls(Call::fcntl), 0);
        EXPECT_EQ(touched_after_close, 0);
    }
}

}  // namespace
}  // namespace registry_test
