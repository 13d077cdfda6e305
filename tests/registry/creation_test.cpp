// A region where there is none, or something else under its name.
#include "registry/registry_world.h"
#include "support/faults.h"

#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>

namespace fs = std::filesystem;

namespace registry_test {
namespace {

using nuv_test::Call;

using Creation = Registry_test;

TEST_F(Creation, LeavesTheDocumentedBytesAndHappensOnce) {
    const auto manager = attached_manager();
    EXPECT_TRUE(manager->init_done);
    EXPECT_EQ(manager->proc_id, getpid());
    EXPECT_EQ(value_of(*manager->sema_rw), 1);
    EXPECT_EQ(value_of(*manager->sema_update), 1);
    EXPECT_EQ(fs::file_size(REGION_FILE), 21464U);
    EXPECT_EQ(manager->create_shm(), NUV_NOERROR);
    EXPECT_EQ(manager->open_shm(), NUV_NOERROR);

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

TEST_F(Creation, GivesTheRegionToGroupVideoOrGoesOnWithout) {
    const auto create = [this] {
        const auto manager = make_manager(LOG_BITS | DEFAULT_GROUP_VIDEO);
        EXPECT_EQ(manager->Initialize(), NUV_NOERROR);
        struct stat status {};
        EXPECT_EQ(stat(REGION_FILE, &status), 0);
        return status;
    };
    const struct stat status = create();
    const group* const video = getgrnam("video");
    const bool is_videos = video != nullptr && status.st_gid == video->gr_gid;
    const std::string written = lines();
    EXPECT_EQ(has(written, "M2 create_shm: hMem group video"), is_videos);
    EXPECT_PRED2(has, written, "M2 create_shm: hMem mode rwrwr set\n");
    EXPECT_EQ(status.st_mode & 07777U, 0664U);
    const std::pair<Call, std::string> cases[] = {
        {Call::fchown, "set group\nM1 create_shm: fchown failed 5\n"},
        {Call::fchmod, "M1 create_shm: fchmod failed 5\n"},
        {Call::getgrnam, "set group\nM1 create_shm: group video not found\n"}};
    for (const auto& [call, traced] : cases) {
        nuv_test::Faults faults;
        faults.fail_always(call, EIO);
        create();
        EXPECT_PRED2(has, lines(), traced);
    }
}

TEST_F(Creation, WhatIsNoRegionBecomesOneOrIsUnlinkedOrRefused) {
    const auto file = [](std::size_t size, std::uint16_t version) {
        return [=] {
            std::string bytes(reinterpret_cast<const char*>(&version), sizeof version);
            bytes.resize(size);
            std::ofstream(REGION_FILE, std::ios::binary) << bytes;
        };
    };
    const std::pair<std::function<void()>, unsigned int> cases[] = {
        {file(0, 0), NUV_NOERROR},
        {file(1, 0x0101), NUV_NOERROR},
        {file(21463, 0x0101), NUV_NOERROR},
        {file(21464, 0x0100), NUV_ERROR_NOMEMORY},
        {file(21464, 0x0102), NUV_ERROR_NOMEMORY},
        {file(30000, 0), NUV_ERROR_NOMEMORY},
        {[] { mkfifo(REGION_FILE, 0666); }, NUV_ERROR_NOMEMORY},
        {[] { fs::create_directory(REGION_FILE); }, NUV_ERROR_INIT},
        {[] { fs::create_symlink("elsewhere", REGION_FILE); }, NUV_ERROR_INIT},
    };
    for (const auto& [make, result] : cases) {
        SCOPED_TRACE(&make - &cases[0].first);
        make();
        const auto manager = make_manager();
        EXPECT_EQ(manager->Initialize(), result);
        if (result == NUV_ERROR_NOMEMORY) {
            EXPECT_FALSE(region_exists());
            EXPECT_EQ(manager->Initialize(), NUV_NOERROR);
        }
        if (result != NUV_ERROR_INIT) {
            EXPECT_EQ(fs::file_size(REGION_FILE), 21464U);
            EXPECT_EQ(+manager->devlist_shm->opencount, 1);
        }
        fs::remove(REGION_FILE);
    }
    const std::string traced = lines();
    EXPECT_PRED2(has, traced, "size 21464 done hMem FD\nM2 create_shm: mmap done PTR\n");
    EXPECT_PRED2(has, traced, "M1 open_shm: wrong struct_version 258 != 257\nM2 open_shm: munmap");
}

TEST_F(Creation, FailingStepReleasesEverythingAndMayBeTriedAgain) {
    const std::string too_many = " NAME failed Too many open files return NUV_ERROR_NOMEMORY\n";
    const std::string no_memory = "mmap failed Cannot allocate memory return NUV_ERROR_NOMEMORY\n";
    const std::string invalid = " failed Invalid argument return NUV_ERROR_NOMEMORY\n";
    const std::string full = "M2 create_shm: ftruncate size 21464 failed No space left on device\n";
    const std::string given_back =
        "M2 create_shm: munmap done\n"
        "M2 create_shm: close hdlMem done\n"
        "M2 create_shm: shm_unlink done\n";
    const struct {
        bool joins;
        Call call;
        int number;
        int error;
        std::string traced_last;
    } cases[] = {
        {false, Call::shm_open, 2, EMFILE, "M1 create_shm: CreateFileMapping" + too_many},
        {false, Call::mmap, 1, ENOMEM,
         "M1 create_shm: " + no_memory + given_back.substr(given_back.find('\n') + 1)},
        {false, Call::ftruncate, 1, ENOSPC, full + given_back},
        {false, Call::posix_fallocate, 1, ENOSPC, full + given_back},
        {false, Call::sem_init, 1, EINVAL, "M1 create_shm: sem_init" + invalid + given_back},
        {false, Call::sem_init, 2, EINVAL,
         "M1 create_shm: sem_init sem_update" + invalid +
             "M2 create_shm: create: sem_rw: PTR, sem_update: PTR\n" + given_back},
        {true, Call::shm_open, 1, EACCES,
         "M2 Initialize: OpenFileMapping NAME failed Permission denied\n"},
        {true, Call::shm_open, 2, EMFILE, "M1 open_shm: OpenFileMapping" + too_many},
        {true, Call::mmap, 1, ENOMEM,
         "M1 open_shm: " + no_memory +
             "M2 open_shm: close hdlMem done\nM2 open_shm: shm_unlink done\n"},
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
        const std::string traced = lines();
        EXPECT_EQ(traced.substr(traced.size() - std::min(traced.size(), traced_last.size())),
                  traced_last);
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
