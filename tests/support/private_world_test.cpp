#include "support/private_world.h"

#include "support/child_process.h"

#include <nuvkit/ini.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace {

// For private_shm_test.sh, which looks from outside.
int leave_file_in_shm(const std::vector<std::string>& arguments) {
    std::ofstream("/dev/shm/" + arguments.at(0)) << "here";
    std::printf("left %s\n", arguments.at(0).c_str());
    return fs::exists("/dev/shm/" + arguments.at(0)) ? 0 : 1;
}
const nuv_test::Register_role leaves("leave_file_in_shm", leave_file_in_shm);

TEST(PrivateWorld, ChildSharesTheTestsShm) {
    ASSERT_TRUE(fs::is_empty("/dev/shm"));
    nuv_test::Child child = nuv_test::Child::in_role("leave_file_in_shm", {"from_child"});
    EXPECT_EQ(child.wait(), 0);
    EXPECT_TRUE(fs::exists("/dev/shm/from_child"));
}

TEST(PrivateWorld, IniFilesAreLookedForInItAlone) {
    char path[1024];
    CNuv_ini ini("nuv_devicemgr");
    EXPECT_EQ(ini.get_ini_filename(path, sizeof path), NUV_INI_NOT_FOUND);
    const std::string written = nuv_test::write_ini("nuv_devicemgr", "[OPTIONS]\nScantime=500\n");
    ASSERT_EQ(ini.get_ini_filename(path, sizeof path), 0u);
    EXPECT_EQ(path, written);
}

}  // namespace
