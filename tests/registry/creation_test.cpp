// A region where there is none, or something else under its name.
#include "registry/registry_world.h"
#include "support/faults.h"

#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace registry_test {
namespace {

using nuv_test::Call;

std::string unlinked(const std::string& op) {
    return "M2 " + op + ": close hdlMem done\nM2 " + op + ": shm_unlink done\n";
}

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

TEST_F(Creation, GivesTheRegionToGroupVideoWhereItCan) {
    const auto manager = make_manager(LOG_BITS | DEFAULT_GROUP_VIDEO);
    ASSERT_EQ(manager->Initialize(), NUV_NOERROR);
    const std::string written = lines();
    struct stat status {};
    ASSERT_EQ(stat(REGION_FILE, &status), 0);
    const group* const video = getgrnam("video");
    const bool is_videos = video != nullptr && status.st_gid == video->gr_gid;
    EXPECT_EQ(has(written, "M2 create_shm: hMem group video"), is_videos);
    EXPECT_PRED2(has, written, "M2 create_shm: hMem mode rwrwr set\n");
    EXPECT_EQ(status.st_mode & 07777U, 0664U);
}

TEST_F(Creation, GoesOnWithoutGroupAndMode) {
    const std::pair<Call, std::string> cases[] = {
        {Call::fchown, "set group\nM1 create_shm: fchown failed 5\n"},
        {Call::fchmod, "M1 create_shm: fchmod failed 5\n" + built},
        {Call::getgrnam, "set group\nM1 create_shm: group video not found\n"}};
    for (const auto& [call, traced] : cases) {
        nuv_test::Faults faults;
        faults.fail_always(call, EIO);
        EXPECT_EQ(make_manager(LOG_BITS | DEFAULT_GROUP_VIDEO)->Initialize(), NUV_NOERROR);
        EXPECT_PRED2(has, lines(), traced);
    }
}

TEST_F(Creation, FragmentBecomesARegionInPlace) {
    for (const std::size_t size : {0U, 1U, 21463U}) {
        SCOPED_TRACE(size);
        write_file(size, 0x0101);
        record.clear();
        const auto manager = make_manager();
        EXPECT_EQ(manager->Initialize(), NUV_NOERROR);
        EXPECT_EQ(lines(), found + built);
        EXPECT_EQ(fs::file_size(REGION_FILE), 21464U);
        EXPECT_EQ(+manager->devlist_shm->opencount, 1);
    }
}

TEST_F(Creation, WrongVersionIsUnlinked) {
    const std::pair<std::size_t, std::uint16_t> cases[] = {
        {21464, 0x0100}, {21464, 0x0102}, {30000, 0}};
    for (const auto& [size, version] : cases) {
        write_file(size, version);
        record.clear();
        const auto manager = make_manager();
        EXPECT_EQ(manager->Initialize(), NUV_ERROR_NOMEMORY);
        const std::string refused = "M1 open_shm: wrong struct_version " + std::to_string(version);
        EXPECT_EQ(lines(), found + mapped + refused + " != 257\nM2 open_shm: munmap done\n" +
                               unlinked("open_shm"));
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

TEST_F(Creation, FailingStepReleasesEverythingAndMayBeTriedAgain) {
    const std::string too_many = " NAME failed Too many open files return NUV_ERROR_NOMEMORY\n";
    const std::string unmapped = "M2 create_shm: munmap done\n" + unlinked("create_shm");
    const std::string full =
        "M2 create_shm: mmap done PTR\n"
        "M2 create_shm: ftruncate size 21464 failed No space left on device\n" +
        unmapped;
    const std::string no_memory = "mmap failed Cannot allocate memory return NUV_ERROR_NOMEMORY\n";
    const std::string invalid = " failed Invalid argument return NUV_ERROR_NOMEMORY\n";
    const struct {
        bool joins;
        Call call;
        int number;
        int error;
        std::string traced_last;
    } cases[] = {
        {false, Call::shm_open, 2, EMFILE, "M1 create_shm: CreateFileMapping" + too_many},
        {false, Call::mmap, 1, ENOMEM, "M1 create_shm: " + no_memory + unlinked("create_shm")},
        {false, Call::ftruncate, 1, ENOSPC, full},
        {false, Call::posix_fallocate, 1, ENOSPC, full},
        {false, Call::sem_init, 1, EINVAL, "M1 create_shm: sem_init" + invalid + unmapped},
        {false, Call::sem_init, 2, EINVAL,
         "M1 create_shm: sem_init sem_update" + invalid +
             "M2 create_shm: create: sem_rw: PTR, sem_update: PTR\n" + unmapped},
        {true, Call::shm_open, 1, EACCES,
         "M2 Initialize: OpenFileMapping NAME failed Permission denied\n"},
        {true, Call::shm_open, 2, EMFILE, "M1 open_shm: OpenFileMapping" + too_many},
        {true, Call::mmap, 1, ENOMEM, "M1 open_shm: " + no_memory + unlinked("open_shm")},
    };
    const auto descriptors = [] {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    };
    for (const auto& [joins, call, number, error, traced_last] : cases) {
        SCOPED_TRACE(traced_last);
        const auto other = joins ? attached_manager() : nullptr;
        const auto manager = make_manager();
        const auto descriptors_before = descriptors();
        {
            nuv_test::Faults faults;
            faults.fail_nth(call, number, error);
            EXPECT_EQ(manager->Initialize(), error == EACCES ? NUV_ERROR_INIT : NUV_ERROR_NOMEMORY);
        }
        EXPECT_PRED2(ends_with, lines(), traced_last);
        EXPECT_EQ(region_exists(), joins && call == Call::shm_open);
        EXPECT_EQ(descriptors(), descriptors_before);
        EXPECT_EQ(manager->m_hMem, -1);
        EXPECT_EQ(manager->devlist_shm, nullptr);
        EXPECT_EQ(manager->sema_rw, nullptr);
        EXPECT_EQ(manager->sema_update, nullptr);
        EXPECT_FALSE(manager->init_done);
        EXPECT_EQ(manager->Initialize(), NUV_NOERROR);
    }
}

}  // namespace
}  // namespace registry_test
