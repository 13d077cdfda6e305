// What else may lie under the region's name.
#include "registry/registry_world.h"
#include "support/child_process.h"

#include <nuv/result.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace registry_test {
namespace {

class Odd_file : public Registry_test {
protected:
    static void write_file(std::size_t size, std::uint16_t version) {
        std::string bytes(size, '\0');
        std::memcpy(bytes.data(), &version, std::min(size, sizeof version));
        std::ofstream(REGION_FILE, std::ios::binary) << bytes;
    }
};

TEST_F(Odd_file, FragmentBecomesARegionInPlace) {
    Lines opened = opening();
    opened.pop_back();
    for (const std::size_t size : {0U, 1U, 100U, 21463U}) {
        SCOPED_TRACE(size);
        record.clear();
        write_file(size, 0x0101);
        struct stat before {};
        struct stat after {};
        ASSERT_EQ(stat(REGION_FILE, &before), 0);
        const auto manager = make_manager();
        EXPECT_EQ(manager->Initialize(), NUV_NOERROR);
        EXPECT_EQ(lines(), opened + creation());
        ASSERT_EQ(stat(REGION_FILE, &after), 0);
        EXPECT_EQ(after.st_ino, before.st_ino);
        EXPECT_EQ(after.st_size, 21464);
        EXPECT_EQ(opencount(), 1);
    }
}

TEST_F(Odd_file, WrongVersionIsUnlinked) {
    const struct {
        std::size_t size;
        std::uint16_t version;
    } cases[] = {{21464, 0x0100}, {21464, 0x0102}, {21464, 0}, {30000, 0}};
    for (const auto& [size, version] : cases) {
        SCOPED_TRACE(version);
        record.clear();
        write_file(size, version);
        const auto manager = make_manager();
        EXPECT_EQ(manager->Initialize(), NUV_ERROR_NOMEMORY);
        const Lines refusal = {
            "M1 open_shm: wrong struct_version " + std::to_string(version) + " != 257",
            "M2 open_shm: munmap done", "M2 open_shm: close hdlMem done",
            "M2 open_shm: shm_unlink done"};
        EXPECT_EQ(lines(), opening() + refusal);
        EXPECT_FALSE(region_exists());
        EXPECT_EQ(manager->Initialize(), NUV_NOERROR);
    }
}

TEST_F(Odd_file, WhatIsNoFileIsRefused) {
    fs::create_directory(REGION_FILE);
    EXPECT_EQ(make_manager()->Initialize(), NUV_ERROR_INIT);
    EXPECT_TRUE(record.contains("OpenFileMapping /nuv_device_shmem failed Invalid argument"));
    fs::remove(REGION_FILE);

    fs::create_symlink("elsewhere", REGION_FILE);
    EXPECT_EQ(make_manager()->Initialize(), NUV_ERROR_INIT);
    fs::remove(REGION_FILE);

    ASSERT_EQ(mkfifo(REGION_FILE, 0666), 0);
    EXPECT_EQ(make_manager()->Initialize(), NUV_ERROR_NOMEMORY);
}

int initialize_as_nobody(const std::vector<std::string>& /*arguments*/) {
    constexpr uid_t nobody = 65534;
    if (setuid(nobody) != 0) {
        return 77;
    }
    CNuv_shm_manager manager;
    std::printf("%x\n", manager.Initialize());
    return 0;
}
const nuv_test::Register_role nobody("initialize_as_nobody", initialize_as_nobody);

TEST_F(Odd_file, AnotherUsersRegionIsLeftAlone) {
    const auto manager = attached_manager();
    fs::permissions(REGION_FILE, fs::perms::owner_read | fs::perms::owner_write);
    nuv_test::Child child = nuv_test::Child::in_role("initialize_as_nobody");
    const auto answer = child.read_line();
    if (child.wait() == 77) {
        GTEST_SKIP() << "cannot become another user here";
    }
    EXPECT_EQ(answer, "80003005");
    EXPECT_EQ(opencount(), 1);
}

TEST_F(Odd_file, ManagersOfARemovedRegionLeaveTheNewOneAlone) {
    auto old_creator = attached_manager();
    auto old_member = attached_manager();
    ASSERT_EQ(unlink(REGION_FILE), 0);
    auto newcomer = attached_manager();
    EXPECT_EQ(opencount(), 1);
    old_creator.reset();
    old_member.reset();
    EXPECT_FALSE(record.contains("shm_unlink"));
    EXPECT_EQ(opencount(), 1);
    newcomer.reset();
    EXPECT_FALSE(region_exists());
}

}  // namespace
}  // namespace registry_test
