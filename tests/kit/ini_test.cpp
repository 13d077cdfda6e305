#include "support/private_world.h"

#include <nuvkit/ini.h>
#include <nuvkit/log.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

/// Four folders of the search order, none of which exists yet.
class Ini : public testing::Test {
protected:
    const std::string base = nuv_test::config_folder();

    void SetUp() override {
        setenv("NUV_INI_PATH", (":" + in("first") + ":" + in("second")).c_str(), 1);
        setenv("XDG_CONFIG_HOME", in("config").c_str(), 1);
        setenv("HOME", in("home").c_str(), 1);
    }
    void TearDown() override { setenv("NUV_INI_PATH", base.c_str(), 1); }

    std::string in(const std::string& folder) const { return base + "/" + folder; }
    std::string put(const std::string& folder) {
        fs::create_directories(in(folder));
        std::ofstream(in(folder) + "/name.ini") << "[LOG]\n";
        return in(folder) + "/name.ini";
    }
    static std::string found(const char* name = "name") {
        std::array<char, 1024> path{};
        return CNuv_ini(name).get_ini_filename(path.data(), 1024) == 0 ? path.data() : "none";
    }
};

TEST_F(Ini, FirstFolderThatHasTheFileWins) {
    EXPECT_EQ(found(), "none");
    const std::string configured = put("config/nuv");
    EXPECT_EQ(found(), configured);
    const std::string second = put("second");
    EXPECT_EQ(found(), second);
    const std::string first = put("first");
    EXPECT_EQ(found(), first);

    unsetenv("NUV_INI_PATH");
    const std::string home = put("home/.config/nuv");
    EXPECT_EQ(found(), configured);
    setenv("XDG_CONFIG_HOME", "relative", 1);
    EXPECT_EQ(found(), home);
    unsetenv("HOME");
    EXPECT_EQ(found(), "none");
}

TEST_F(Ini, WhateverHasTheNameIsTakenAndNoNameFindsNothing) {
    fs::create_directories(in("first/name.ini"));
    put("second");
    EXPECT_EQ(found(), in("first/name.ini"));
    EXPECT_EQ(found(nullptr), "none");
    EXPECT_EQ(found(""), "none");
    EXPECT_EQ(found("../first/name"), "none");
    EXPECT_EQ(CNuv_ini("name").create_log_from_ini(), nullptr);
}

TEST_F(Ini, BufferThatIsTooSmallIsUntouched) {
    const std::string path = put("first");
    CNuv_ini ini("name");
    std::string buffer(path.size() + 1, '?');
    EXPECT_EQ(ini.get_ini_filename(buffer.data(), static_cast<int>(path.size())),
              NUV_INI_BAD_BUFFER);
    EXPECT_EQ(buffer, std::string(path.size() + 1, '?'));
    EXPECT_EQ(ini.get_ini_filename(buffer.data(), static_cast<int>(path.size()) + 1), 0U);
    EXPECT_STREQ(buffer.c_str(), path.c_str());
    EXPECT_EQ(ini.get_ini_filename(nullptr, 1024), NUV_INI_BAD_BUFFER);
    EXPECT_EQ(ini.get_ini_filename(buffer.data(), -1), NUV_INI_BAD_BUFFER);
    EXPECT_EQ(CNuv_ini("other").get_ini_filename(buffer.data(), 1), NUV_INI_NOT_FOUND);
}

}  // namespace
