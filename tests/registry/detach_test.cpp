#include "registry/registry_world.h"
#include "support/faults.h"

#include <sys/stat.h>
#include <unistd.h>

namespace registry_test {
namespace {

using nuv_test::Call;

class Detach : public Registry_test {
protected:
    std::unique_ptr<CNuv_shm_manager> one = attached_manager();
    std::unique_ptr<CNuv_shm_manager> other = attached_manager();
};

TEST_F(Detach, HappensOnceAndTheLastRemovesTheRegion) {
    EXPECT_EQ(one->close_shm() + one->close_shm(), 0U);
    EXPECT_EQ(one->m_hMem, -1);
    EXPECT_EQ(one->devlist_shm, nullptr);
    EXPECT_EQ(one->Initialize(), NUV_ERROR_INIT);
    EXPECT_EQ(+other->devlist_shm->opencount, 1);
    one.reset();
    EXPECT_TRUE(region_exists());
    other.reset();
    EXPECT_FALSE(region_exists());
}

TEST_F(Detach, LeavesAStaleRegistryUncountedWhenItsSemaphoreIsLost) {
    ASSERT_EQ(other->sema_rw->trywait(), 0);
    other->devlist_shm->time_stamp = 1;
    one.reset();
    EXPECT_EQ(+other->devlist_shm->opencount, 2);
    sem_post(other->sema_rw->sem);
}

TEST_F(Detach, ManagersOfARemovedRegionLeaveTheNewOneAlone) {
    ASSERT_EQ(unlink(region_file), 0);
    auto newcomer = attached_manager();
    one.reset();
    other.reset();
    EXPECT_TRUE(region_exists());
    EXPECT_EQ(+newcomer->devlist_shm->opencount, 1);
}

// Its number may be that of another thread's descriptor by then, whose locks it would drop.
TEST_F(Detach, TouchesNoDescriptorThatItHasClosed) {
    static int descriptor;
    static int calls = 0;
    static int touched_after_close = 0;
    for (auto* manager : {&one, &other}) {
        descriptor = (*manager)->m_hMem;
        nuv_test::Faults faults;
        faults.before(Call::fcntl, [](int) {
            struct stat status {};
            ++calls;
            touched_after_close += fstat(descriptor, &status) != 0 ? 1 : 0;
        });
        manager->reset();
    }
    EXPECT_GT(calls, 0);
    EXPECT_EQ(touched_after_close, 0);
}

}  // namespace
}  // namespace registry_test
