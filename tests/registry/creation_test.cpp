// A region where there is none, or something else under its name.
#include "registry/registry_world.h"
#include "support/faults.h"
#include "support/recording_log.h"

#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

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
    EXPECT_EQ(fs::file_size(region_file), 21464U);
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
        EXPECT_EQ(stat(region_file, &status), 0);
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
            std::ofstream(region_file, std::ios::binary) << bytes;
        };
    };
    const std::pair<std::function<void()>, unsigned int> cases[] = {
        {file(0, 0), NUV_NOERROR},
        {file(1, 0x0101), NUV_NOERROR},
        {file(21463, 0x0101), NUV_NOERROR},
        {file(21464, 0x0100), NUV_ERROR_NOMEMORY},
        {file(21464, 0x0102), NUV_ERROR_NOMEMORY},
        {file(30000, 0), NUV_ERROR_NOMEMORY},
        {[] { mkfifo(region_file, 0666); }, NUV_ERROR_NOMEMORY},
        {[] { fs::create_directory(region_file); }, NUV_ERROR_INIT},
        {[] { fs::create_symlink("elsewhere", region_file); }, NUV_ERROR_INIT},
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
            EXPECT_EQ(fs::file_size(region_file), 21464U);
            EXPECT_EQ(+manager->devlist_shm->opencount, 1);
        }
        fs::remove(region_file);
    }
    const std::string traced = lines();
    EXPECT_PRED2(has, traced, "size 21464 done hMem FD\nM2 create_shm: mmap done PTR\n");
    EXPECT_PRED2(has, traced, "M1 open_shm: wrong struct_version 258 != 257\nM2 open_shm: munmap");
}

TEST_F(Creation, FailingStepIsToldReleasesEverythingAndMayBeTriedAgain) {
    const struct {
        bool joins;
        Call call;
        int number;
        int error;
    } cases[] = {
        {false, Call::shm_open, 2, EMFILE},  {false, Call::mmap, 1, ENOMEM},
        {false, Call::ftruncate, 1, ENOSPC}, {false, Call::posix_fallocate, 1, ENOSPC},
        {false, Call::sem_init, 1, EINVAL},  {false, Call::sem_init, 2, EINVAL},
        {true, Call::shm_open, 1, EACCES},   {true, Call::shm_open, 2, EMFILE},
        {true, Call::mmap, 1, ENOMEM},
    };
    const auto descriptors = [] {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    };
    std::string traced;
    for (const auto& [joins, call, number, error] : cases) {
        SCOPED_TRACE(traced);
        const auto other = joins ? attached_manager() : nullptr;
        const auto manager = make_manager();
        const auto descriptors_before = descriptors();
        {
            nuv_test::Faults faults;
            faults.fail_nth(call, number, error);
            record.clear();
            EXPECT_EQ(manager->Initialize(), error == EACCES ? NUV_ERROR_INIT : NUV_ERROR_NOMEMORY);
        }
        traced += lines();
        EXPECT_EQ(region_exists(), joins && call == Call::shm_open);
        EXPECT_EQ(descriptors(), descriptors_before);
        EXPECT_EQ(manager->m_hMem, -1);
        EXPECT_EQ(manager->devlist_shm, nullptr);
        EXPECT_EQ(manager->sema_rw, nullptr);
        EXPECT_EQ(manager->sema_update, nullptr);
        EXPECT_FALSE(manager->init_done);
        EXPECT_EQ(manager->Initialize(), NUV_NOERROR);
    }
    EXPECT_EQ(traced, nuv_test::text_of_file(DOCUMENTED_LINES "/failures.log"));
}

}  // namespace
}  // namespace registry_test
