#include "registry/registry_world.h"

#include <nuv/result.h>

namespace registry_test {
namespace {

class User_counts : public Registry_test {
protected:
    /// Type and count of a slot, as one word.
    static unsigned int slot(int index) {
        return peek<unsigned int>(AT_IF_OPENCOUNT + 4 * static_cast<long>(index));
    }
    const std::unique_ptr<CNuv_shm_manager> manager = attached_manager(NUV_BIT_LOG_SHM_MANAGER);
};

TEST_F(User_counts, CountInAndOutAndFreeTheSlot) {
    EXPECT_EQ(manager->increase_opencount(6), 1);
    EXPECT_EQ(manager->increase_opencount(6), 2);
    EXPECT_EQ(slot(0), 0x00020006U);
    EXPECT_EQ(lines(), (Lines{"M2 increase_opencount: InterfaceType 6 not found create entry",
                              "M2 increase_opencount: return count 1",
                              "M2 increase_opencount: InterfaceType 6 found opencount now 2",
                              "M2 increase_opencount: return count 2"}));
    EXPECT_EQ(manager->increase_opencount(8), 1);
    record.clear();
    EXPECT_EQ(manager->decrease_opencount(6), 1);
    EXPECT_EQ(manager->decrease_opencount(6), 0);
    EXPECT_EQ(manager->decrease_opencount(6), 0);
    EXPECT_EQ(lines(), (Lines{"M2 decrease_opencount: InterfaceType 6 found opencount now 1",
                              "M2 decrease_opencount: return count 1",
                              "M2 decrease_opencount: InterfaceType 6 found opencount now 0",
                              "M2 decrease_opencount: return count 0",
                              "M2 decrease_opencount: return count 0"}));
    EXPECT_EQ(slot(0), 0U);
    EXPECT_EQ(slot(1), 0x00010008U);
    EXPECT_EQ(manager->increase_opencount(9), 1);
    EXPECT_EQ(slot(0), 0x00010009U);
}

TEST_F(User_counts, FullTableRefusesNewTypesOnly) {
    for (unsigned short type = 100; type < 132; ++type) {
        ASSERT_EQ(manager->increase_opencount(type), 1);
    }
    const auto before = region_bytes();
    record.clear();
    EXPECT_EQ(manager->increase_opencount(132), 0);
    EXPECT_EQ(lines(), (Lines{"M2 increase_opencount: InterfaceType 132 not found create entry",
                              "M2 increase_opencount: return count 0"}));
    EXPECT_EQ(region_bytes(), before);
    EXPECT_EQ(manager->increase_opencount(131), 2);
    EXPECT_EQ(slot(31), 0x00020083U);
}

TEST_F(User_counts, NotAttachedManagerCountsNothing) {
    CNuv_shm_manager detached(log.get(), LOG_BITS);
    EXPECT_EQ(detached.increase_opencount(6), NUV_COUNT_NOT_ATTACHED);
    EXPECT_EQ(detached.decrease_opencount(6), NUV_COUNT_NOT_ATTACHED);
    detached.update_time_stamp();
    EXPECT_EQ(lines(), Lines());
}

}  // namespace
}  // namespace registry_test
