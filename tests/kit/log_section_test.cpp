#include "support/private_world.h"

#include <nuvkit/ini.h>
#include <nuvkit/log.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>

namespace {

namespace fs = std::filesystem;

std::unique_ptr<CNuv_Log> log_of(const std::string& text) {
    nuv_test::write_ini("name", text);
    return std::unique_ptr<CNuv_Log>(CNuv_ini("name").create_log_from_ini());
}

TEST(LogSection, WithoutTheSectionOrWithLevelZeroThereIsNoLog) {
    EXPECT_EQ(CNuv_ini("name").create_log_from_ini(), nullptr);
    EXPECT_EQ(log_of(""), nullptr);
    EXPECT_EQ(log_of("[OPTIONS]\nLevel=3\n"), nullptr);
    EXPECT_EQ(log_of("[LOG]\nLevel=0\nConsole=1\n"), nullptr);
    EXPECT_EQ(log_of("[LOG]\nLevel=high\nConsole=1\n"), nullptr);
    EXPECT_EQ(log_of(std::string("\0\xFF[LOG\n", 7)), nullptr);
}

TEST(LogSection, KeysAreReadInAnyCaseAndNumbersInAnyBase) {
    const std::string file = nuv_test::config_folder() + "/here.log";
    const auto log =
        log_of("\xEF\xBB\xBF[log]\r\nLEVEL=0x80002\r\nsources=0x20000000\r\nfile=" + file + "\r\n");
    ASSERT_NE(log, nullptr);
    EXPECT_EQ(log->get_logbits(), 0x80002U);
    log->writelog(2, 0x20000000, "registry");
    const auto size = fs::file_size(file);
    EXPECT_GT(size, 0U);
    log->writelog(2, 0x40000000, "not selected");
    EXPECT_EQ(fs::file_size(file), size);
}

TEST(LogSection, WithoutADestinationTheFileIsInTheStateFolder) {
    const std::string folder = nuv_test::config_folder() + "/state";
    setenv("XDG_STATE_HOME", folder.c_str(), 1);
    const auto log = log_of("[LOG]\n");
    ASSERT_NE(log, nullptr);
    EXPECT_EQ(log->get_logbits(), 0x9U);
    EXPECT_TRUE(fs::exists(folder + "/nuv/name." + std::to_string(getpid()) + ".log"));

    fs::remove_all(folder);
    const auto console = log_of("[LOG]\nConsole=enabled\n");
    EXPECT_NE(console, nullptr);
    EXPECT_FALSE(fs::exists(folder));
}

}  // namespace
