// A region where there is none, or something else under its name.
#include "registry/registry_world.h"
#include "support/child_process.h"
#include "support/faults.h"

#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace registry_test {
namespace {

using nuv_test::Call;

class Creation : public Registry_test {
protected:
    static void write_file(std::size_t size, std::uint16_t version) {
        std::string bytes(reinterpret_cast<const char*>(&version), sizeof version);
        bytes.resize(size);
        std::ofstream(REGION_FILE, std::ios::binary) << bytes;
    }
};

TEST_F(Creation, TracesEachStepAndLeavesTheDocumentedBytes) {
    const auto manager = make_manager();
    ASSERT_EQ(manager->Initialize(), NUV_NOERROR);
    EXPECT_EQ(lines(), nothing_found + built);
    EXPECT_TRUE(manager->init_done);
    EXPECT_EQ(manager->proc_id, getpid());
    EXPECT_EQ(value_of(*manager->sema_rw), 1);
    EXPECT_EQ(value_of(*manager->sema_update), 1);
    EXPECT_EQ(fs::file_size(REGION_FILE), 21464U);

    NUV_Devlist_Shm expected{};
    expected.struct_version = 0x0101;
    expected.opencount = 1;
    expected.time_stamp = NOW;
    expected.sem_rw = manager->devlist_shm->sem_rw;
    expected.sem_update = manager->devlist_shm->sem_update;
    expected.processid = getpid();
    expected.id_counter = 1;
    for (NUV_Device& entry : expected.nuvdevice) {
        entry.entry_mark = 0x0100;
    }
    EXPECT_TRUE(same(*manager->devlist_shm, expected));
}

TEST_F(Creation, SecondCallIsRefusedOrChangesNothing) {
    const auto manager = attached_manager();
    const NUV_Devlist_Shm before = *manager->devlist_shm;
    EXPECT_EQ(manager->Initialize(), NUV_ERROR_INIT);
    EXPECT_EQ(lines(),
              "M2 Initialize: general_bits found 0x30000000\n"
              "M2 Initialize: init already done for this instance\n");
    EXPECT_EQ(manager->create_shm(), NUV_NOERROR);
    EXPECT_EQ(manager->open_shm(), NUV_NOERROR);
    EXPECT_TRUE(same(*manager->devlist_shm, before));
    EXPECT_EQ(lines(), "");
}

TEST_F(Creation, DirectCallsAttachToWhatIsAliveAndOpenNeverCreates) {
    const auto first = make_manager();
    EXPECT_EQ(first->open_shm(), NUV_ERROR_NOMEMORY);
    EXPECT_EQ(lines(),
              "M1 open_shm: OpenFileMapping NAME failed No such file or directory return "
              "NUV_ERROR_NOMEMORY\n");
    EXPECT_EQ(first->create_shm(), NUV_NOERROR);
    EXPECT_FALSE(first->init_done);
    const auto second = make_manager();
    EXPECT_EQ(second->create_shm(), NUV_NOERROR);
    EXPECT_EQ(+first->devlist_shm->opencount, 2);
}

TEST_F(Creation, GivesTheRegionToGroupVideo) {
    const group* const video = getgrnam("video");
    std::ofstream("/dev/shm/scratch") << "";
    if (video == nullptr || chown("/dev/shm/scratch", static_cast<uid_t>(-1), video->gr_gid) != 0) {
        GTEST_SKIP() << "no file can be given to group video here";
    }
    const auto manager = make_manager(LOG_BITS | DEFAULT_GROUP_VIDEO);
    ASSERT_EQ(manager->Initialize(), NUV_NOERROR);
    EXPECT_PRED2(has, lines(),
                 "M2 create_shm: CreateFileMapping DEFAULT_GROUP_VIDEO set group\n"
                 "M2 create_shm: hMem group video " +
                     std::to_string(video->gr_gid) +
                     " set\n"
                     "M2 create_shm: hMem mode rwrwr set\n");
    struct stat status {};
    ASSERT_EQ(stat(REGION_FILE, &status), 0);
    EXPECT_EQ(status.st_gid, video->gr_gid);
    EXPECT_EQ(status.st_mode & 07777U, 0664U);
}

TEST_F(Creation, GoesOnWithoutGroupAndMode) {
    const struct {
        Call call;
        std::string traced;
    } cases[] = {{Call::fchown, "M1 create_shm: fchown failed 5\n"},
                 {Call::fchmod, "M1 create_shm: fchmod failed 5\n" + built},
                 {Call::getgrnam, "M1 create_shm: group video not found\n"}};
    for (const auto& [call, traced] : cases) {
        nuv_test::Faults faults;
        faults.fail_always(call, EIO);
        EXPECT_EQ(make_manager(LOG_BITS | DEFAULT_GROUP_VIDEO)->Initialize(), NUV_NOERROR);
        EXPECT_PRED2(has, lines(), traced);
    }
}

TEST_F(Creation, FailingStepReleasesEverythingAndMayBeTriedAgain) {
    const std::string unlinked =
        "M2 create_shm: close hdlMem done\n"
        "M2 create_shm: shm_unlink done\n";
    const std::string unmapped = "M2 create_shm: munmap done\n" + unlinked;
    const std::string full =
        "M2 create_shm: mmap done PTR\n"
        "M2 create_shm: ftruncate size 21464 failed No space left on device\n" +
        unmapped;
    const struct {
        Call call;
        int number;
        int error;
        std::string traced_last;
    } cases[] = {
        {Call::shm_open, 2, EMFILE,
         "M1 create_shm: CreateFileMapping NAME failed Too many open files return "
         "NUV_ERROR_NOMEMORY\n"},
        {Call::mmap, 1, ENOMEM,
         "M1 create_shm: mmap failed Cannot allocate memory return NUV_ERROR_NOMEMORY\n" +
             unlinked},
        {Call::ftruncate, 1, ENOSPC, full},
        {Call::posix_fallocate, 1, ENOSPC, full},
        {Call::sem_init, 1, EINVAL,
         "M1 create_shm: sem_init failed Invalid argument return NUV_ERROR_NOMEMORY\n" + unmapped},
        {Call::sem_init, 2, EINVAL,
         "M1 create_shm: sem_init sem_update failed Invalid argument return NUV_ERROR_NOMEMORY\n"
         "M2 create_shm: create: sem_rw: PTR, sem_update: PTR\n" +
             unmapped},
    };
    const auto descriptors = [] {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    };
    for (const auto& [call, number, error, traced_last] : cases) {
        SCOPED_TRACE(traced_last);
        const auto descriptors_before = descriptors();
        const auto manager = make_manager();
        record.clear();
        {
            nuv_test::Faults faults;
            faults.fail_nth(call, number, error);
            EXPECT_EQ(manager->Initialize(), NUV_ERROR_NOMEMORY);
        }
        const std::string traced = lines();
        EXPECT_EQ(traced.substr(traced.size() - std::min(traced.size(), traced_last.size())),
                  traced_last);
        EXPECT_FALSE(region_exists());
        EXPECT_EQ(descriptors(), descriptors_before);
        EXPECT_EQ(manager->m_hMem, -1);
        EXPECT_EQ(manager->devlist_shm, nullptr);
        EXPECT_EQ(manager->sema_rw, nullptr);
        EXPECT_EQ(manager->sema_update, nullptr);
        EXPECT_FALSE(manager->init_done);
        EXPECT_EQ(manager->Initialize(), NUV_NOERROR);
    }
}

TEST_F(Creation, FragmentBecomesARegionInPlace) {
    for (const std::size_t size : {0U, 1U, 21463U}) {
        SCOPED_TRACE(size);
        record.clear();
        write_file(size, 0x0101);
        const fs::path hard_link = "/dev/shm/fragment";
        fs::create_hard_link(REGION_FILE, hard_link);
        const auto manager = make_manager();
        EXPECT_EQ(manager->Initialize(), NUV_NOERROR);
        EXPECT_EQ(lines(), found + built);
        EXPECT_TRUE(fs::equivalent(REGION_FILE, hard_link));
        EXPECT_EQ(fs::file_size(REGION_FILE), 21464U);
        EXPECT_EQ(+manager->devlist_shm->opencount, 1);
        fs::remove(hard_link);
    }
}

TEST_F(Creation, WrongVersionIsUnlinked) {
    const std::pair<std::size_t, std::uint16_t> cases[] = {
        {21464, 0x0100}, {21464, 0x0102}, {30000, 0}};
    for (const auto& [size, version] : cases) {
        record.clear();
        write_file(size, version);
        const auto manager = make_manager();
        EXPECT_EQ(manager->Initialize(), NUV_ERROR_NOMEMORY);
        EXPECT_EQ(lines(), found + mapped + "M1 open_shm: wrong struct_version " +
                               std::to_string(version) +
                               " != 257\n"
                               "M2 open_shm: munmap done\n"
                               "M2 open_shm: close hdlMem done\n"
                               "M2 open_shm: shm_unlink done\n");
        EXPECT_FALSE(region_exists());
        EXPECT_EQ(manager->Initialize(), NUV_NOERROR);
    }
}

TEST_F(Creation, WhatIsNoFileIsRefused) {
    const std::pair<void (*)(), unsigned int> cases[] = {
        {[] { fs::create_directory(REGION_FILE); }, NUV_ERROR_INIT},
        {[] { fs::create_symlink("elsewhere", REGION_FILE); }, NUV_ERROR_INIT},
        {[] { mkfifo(REGION_FILE, 0666); }, NUV_ERROR_NOMEMORY},
    };
    for (const auto& [make, result] : cases) {
        make();
        EXPECT_EQ(make_manager()->Initialize(), result);
        fs::remove(REGION_FILE);
    }
}

const nuv_test::Register_role nobody("initialize_as_nobody", [](const auto& /*arguments*/) {
    constexpr uid_t nobodys_id = 65534;
    if (setuid(nobodys_id) != 0) {
        return 77;
    }
    std::printf("%x\n", CNuv_shm_manager().Initialize());
    return 0;
});

TEST_F(Creation, AnotherUsersRegionIsLeftAlone) {
    const auto manager = attached_manager();
    fs::permissions(REGION_FILE, fs::perms::owner_read | fs::perms::owner_write);
    nuv_test::Child child = nuv_test::Child::in_role("initialize_as_nobody");
    const auto answer = child.read_line();
    if (child.wait() == 77) {
        GTEST_SKIP() << "cannot become another user here";
    }
    EXPECT_EQ(answer, "80003005");
    EXPECT_EQ(+manager->devlist_shm->opencount, 1);
}

}  // namespace
}  // namespace registry_test
