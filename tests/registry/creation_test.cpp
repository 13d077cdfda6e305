#include "registry/registry_world.h"
#include "support/faults.h"

#include <nuv/result.h>

#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace registry_test {
namespace {

using nuv_test::Call;

const Lines created_file = {"M2 create_shm: CreateFileMapping NAME size 21464 done hMem FD"};
constexpr auto descriptors = [] {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
};

bool region_is_mapped() {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find("nuv_device_shmem") != std::string::npos) {
            return true;
        }
    }
    return false;
}

class Creation : public Registry_test {};

TEST_F(Creation, TracesEachStepAndLeavesTheDocumentedBytes) {
    const Stopped_clock clock;
    const auto manager = make_manager();
    ASSERT_EQ(manager->Initialize(), NUV_NOERROR);
    EXPECT_EQ(lines(), probe_of_nothing() + created_file + creation());
    EXPECT_TRUE(manager->init_done);
    EXPECT_EQ(manager->proc_id, getpid());
    EXPECT_EQ(value_of(*manager->sema_rw), 1);
    EXPECT_EQ(value_of(*manager->sema_update), 1);

    std::vector<unsigned char> expected(21464);
    const auto put = [&expected](long offset, auto value) {
        std::memcpy(expected.data() + offset, &value, sizeof value);
    };
    put(0, std::uint32_t{0x00010101});
    put(8, NOW);
    put(80, getpid());
    for (long entry = 0; entry < 128; ++entry) {
        put(84 + 164 * entry, std::uint16_t{0x0100});
    }
    put(21460, std::uint32_t{1});
    read_region(AT_SEM_RW, expected.data() + AT_SEM_RW, 64);  // the system's own bytes
    EXPECT_EQ(region_bytes(), expected);
}

TEST_F(Creation, InitializeTwiceIsRefusedAndChangesNothing) {
    const auto manager = attached_manager();
    const auto before = region_bytes();
    EXPECT_EQ(manager->Initialize(), NUV_ERROR_INIT);
    EXPECT_EQ(lines(), (Lines{"M2 Initialize: general_bits found 0x30000000",
                              "M2 Initialize: init already done for this instance"}));
    EXPECT_EQ(manager->create_shm(), NUV_NOERROR);
    EXPECT_EQ(manager->open_shm(), NUV_NOERROR);
    EXPECT_EQ(region_bytes(), before);
    EXPECT_EQ(lines(), Lines());
}

TEST_F(Creation, GivesTheRegionToGroupVideo) {
    const group* const video = getgrnam("video");
    std::ofstream("/dev/shm/scratch") << "";
    if (video == nullptr || chown("/dev/shm/scratch", static_cast<uid_t>(-1), video->gr_gid) != 0) {
        GTEST_SKIP() << "no file can be given to group video here";
    }
    const auto manager = make_manager(LOG_BITS | DEFAULT_GROUP_VIDEO);
    ASSERT_EQ(manager->Initialize(), NUV_NOERROR);
    const Lines found = lines();
    ASSERT_GT(found.size(), 7U);
    EXPECT_EQ(Lines(found.begin() + 4, found.begin() + 7),
              (Lines{"M2 create_shm: CreateFileMapping DEFAULT_GROUP_VIDEO set group",
                     "M2 create_shm: hMem group video " + std::to_string(video->gr_gid) + " set",
                     "M2 create_shm: hMem mode rwrwr set"}));
    struct stat status {};
    ASSERT_EQ(stat(REGION_FILE, &status), 0);
    EXPECT_EQ(status.st_gid, video->gr_gid);
    EXPECT_EQ(status.st_mode & 07777U, 0664U);
}

TEST_F(Creation, GoesOnWithoutGroupAndMode) {
    const Lines start = {
        "M2 Initialize: general_bits found 0x30010000",
        "M2 Initialize: OpenFileMapping NAME failed No such file or directory",
        "M2 Initialize: OpenFileMapping NAME does not exist call create",
        "M2 create_shm: CreateFileMapping NAME size 21464 done hMem FD",
        "M2 create_shm: CreateFileMapping DEFAULT_GROUP_VIDEO set group",
    };
    const Lines refused = {"M1 create_shm: fchown failed 1", "M1 create_shm: fchmod failed 5"};
    const Lines no_group = {"M1 create_shm: group video not found",
                            "M2 create_shm: hMem mode rwrwr set"};
    {
        nuv_test::Faults faults;
        faults.fail_always(Call::fchown, EPERM);
        faults.fail_always(Call::fchmod, EIO);
        EXPECT_EQ(make_manager(LOG_BITS | DEFAULT_GROUP_VIDEO)->Initialize(), NUV_NOERROR);
    }
    EXPECT_EQ(lines(), start + refused + creation() + detaching(0));
    nuv_test::Faults faults;
    faults.fail_always(Call::getgrnam, ENOENT);
    EXPECT_EQ(make_manager(LOG_BITS | DEFAULT_GROUP_VIDEO)->Initialize(), NUV_NOERROR);
    EXPECT_EQ(faults.calls(Call::fchown), 0);
    EXPECT_EQ(lines(), start + no_group + creation() + detaching(0));
}

TEST_F(Creation, FailingStepReleasesEverythingInOrder) {
    const Lines steps = creation();
    const auto until = [&steps](int count) { return Lines(steps.begin(), steps.begin() + count); };
    const Lines unlinked = {"M2 create_shm: close hdlMem done", "M2 create_shm: shm_unlink done"};
    const Lines unmapped = Lines{"M2 create_shm: munmap done"} + unlinked;
    const Lines full = {"M2 create_shm: ftruncate size 21464 failed No space left on device"};
    const struct {
        Call call;
        int number;
        int error;
        Lines expected;
    } cases[] = {
        {Call::shm_open,
         2,
         EMFILE,
         {"M1 create_shm: CreateFileMapping NAME failed Too many open files return "
          "NUV_ERROR_NOMEMORY"}},
        {Call::mmap, 1, ENOMEM,
         created_file +
             Lines{"M1 create_shm: mmap failed Cannot allocate memory return NUV_ERROR_NOMEMORY"} +
             unlinked},
        {Call::ftruncate, 1, ENOSPC, created_file + until(1) + full + unmapped},
        {Call::posix_fallocate, 1, ENOSPC, created_file + until(1) + full + unmapped},
        {Call::sem_init, 1, EINVAL,
         created_file + until(4) +
             Lines{"M1 create_shm: sem_init failed Invalid argument return NUV_ERROR_NOMEMORY"} +
             unmapped},
        {Call::sem_init, 2, EINVAL,
         created_file + until(5) +
             Lines{"M1 create_shm: sem_init sem_update failed Invalid argument return "
                   "NUV_ERROR_NOMEMORY",
                   "M2 create_shm: create: sem_rw: PTR, sem_update: PTR"} +
             unmapped},
    };
    for (const auto& [call, number, error, expected] : cases) {
        SCOPED_TRACE(expected.back());
        record.clear();
        const auto descriptors_before = descriptors();
        auto failed = make_manager();
        const auto again = make_manager();
        {
            nuv_test::Faults faults;
            faults.fail_nth(call, number, error);
            EXPECT_EQ(failed->Initialize(), NUV_ERROR_NOMEMORY);
        }
        EXPECT_EQ(lines(), probe_of_nothing() + expected);
        EXPECT_FALSE(region_exists());
        EXPECT_FALSE(region_is_mapped());
        EXPECT_EQ(descriptors(), descriptors_before);
        EXPECT_EQ(failed->m_hMem, -1);
        EXPECT_EQ(failed->devlist_shm, nullptr);
        EXPECT_EQ(failed->sema_rw, nullptr);
        EXPECT_EQ(failed->sema_update, nullptr);
        EXPECT_EQ(again->Initialize(), NUV_NOERROR);
        record.clear();
        failed.reset();
        EXPECT_EQ(lines(), Lines{"M2 ~CNuv_shm_manager:"});
        EXPECT_TRUE(region_exists());
    }
}

TEST_F(Creation, FailedManagerMayTryAgain) {
    const auto manager = make_manager();
    {
        nuv_test::Faults faults;
        faults.fail_nth(Call::sem_init, 2, EINVAL);
        EXPECT_EQ(manager->Initialize(), NUV_ERROR_NOMEMORY);
    }
    EXPECT_FALSE(manager->init_done);
    EXPECT_EQ(manager->Initialize(), NUV_NOERROR);
    EXPECT_EQ(opencount(), 1);
}

TEST_F(Creation, DirectCallsAttachToWhatIsAliveAndOpenNeverCreates) {
    const auto first = make_manager();
    EXPECT_EQ(first->open_shm(), NUV_ERROR_NOMEMORY);
    EXPECT_EQ(lines(), Lines{"M1 open_shm: OpenFileMapping NAME failed No such file or directory "
                             "return NUV_ERROR_NOMEMORY"});
    EXPECT_EQ(first->create_shm(), NUV_NOERROR);
    EXPECT_FALSE(first->init_done);
    const auto second = make_manager();
    EXPECT_EQ(second->create_shm(), NUV_NOERROR);
    EXPECT_EQ(opencount(), 2);
}

}  // namespace
}  // namespace registry_test
