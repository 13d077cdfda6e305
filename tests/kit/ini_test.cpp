#include "support/private_world.h"

#include <nuvkit/config_keys.h>
#include <nuvkit/ini.h>
#include <nuvkit/log.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

const std::string& base() {
    static const std::string folder = nuv_test::config_folder();
    return folder;
}

std::string put(const std::string& folder) {
    const std::string path = base() + folder;
    fs::create_directories(path);
    std::ofstream(path + "/name.ini") << "[LOG]\n";
    return path + "/name.ini";
}

std::string found(const char* name = "name") {
    std::array<char, 1024> path{};
    return CNuv_ini(name).get_ini_filename(path.data(), 1024) == 0 ? path.data() : "none";
}

TEST(Ini, FirstFolderThatHasTheFileWins) {
    setenv("NUV_INI_PATH", (":" + base() + "/first:" + base() + "/second").c_str(), 1);
    setenv("XDG_CONFIG_HOME", (base() + "/config").c_str(), 1);
    setenv("HOME", (base() + "/home").c_str(), 1);
    EXPECT_EQ(found(), "none");
    for (const char* folder : {"/home/.config/nuv", "/config/nuv", "/second", "/first"}) {
        const std::string before_others = put(folder);
        setenv("XDG_CONFIG_HOME", folder[1] == 'h' ? "relative" : (base() + "/config").c_str(), 1);
        EXPECT_EQ(found(), before_others);
    }
    unsetenv("NUV_INI_PATH");
    EXPECT_EQ(found(), base() + "/config/nuv/name.ini");
    unsetenv("XDG_CONFIG_HOME");
    EXPECT_EQ(found(), base() + "/home/.config/nuv/name.ini");
    unsetenv("HOME");
    EXPECT_EQ(found(), "none");
    setenv("NUV_INI_PATH", base().c_str(), 1);
}

TEST(Ini, WhateverHasTheNameIsTakenAndNoNameFindsNothing) {
    fs::create_directories(base() + "/name.ini");
    EXPECT_EQ(found(), base() + "/name.ini");
    EXPECT_EQ(CNuv_ini("name").create_log_from_ini(), nullptr);
    const std::string up = "../" + fs::path(base()).filename().string() + "/name";
    for (const char* name : {static_cast<const char*>(nullptr), "", up.c_str()}) {
        EXPECT_EQ(found(name), "none");
    }
}

TEST(Ini, BufferThatIsTooSmallIsUntouched) {
    const std::string path = put("");
    const int size = static_cast<int>(path.size());
    CNuv_ini ini("name");
    std::string buffer(path.size() + 1, '?');
    for (const int too_small : {size, 0, -1}) {
        EXPECT_EQ(ini.get_ini_filename(buffer.data(), too_small), NUV_INI_BAD_BUFFER);
        EXPECT_EQ(buffer, std::string(path.size() + 1, '?'));
    }
    EXPECT_EQ(ini.get_ini_filename(nullptr, 1024), NUV_INI_BAD_BUFFER);
    EXPECT_EQ(ini.get_ini_filename(buffer.data(), size + 1), 0U);
    EXPECT_STREQ(buffer.c_str(), path.c_str());
    EXPECT_EQ(CNuv_ini("other").get_ini_filename(buffer.data(), 1), NUV_INI_NOT_FOUND);
}

std::unique_ptr<CNuv_Log> log_of(const std::string& text) {
    nuv_test::write_ini("name", text);
    return std::unique_ptr<CNuv_Log>(CNuv_ini("name").create_log_from_ini());
}

TEST(LogSection, WithoutTheSectionOrWithLevelZeroThereIsNoLog) {
    EXPECT_EQ(CNuv_ini("name").create_log_from_ini(), nullptr);
    for (const char* text : {"", "[OPTIONS]\nLevel=3\n", "[LOG]\nLevel=0\nConsole=1\n",
                             "[LOG]\nLevel=high\nConsole=1\n", "\xFF[LOG\n"}) {
        EXPECT_EQ(log_of(text), nullptr) << text;
    }
}

TEST(LogSection, DefaultsAreThoseOfTheTableOfKeys) {
    using nuvkit::Key;
    const CNuv_Log::Settings settings;
    EXPECT_EQ(settings.sources, nuvkit::definition_of(Key::log_sources).fallback);
    EXPECT_EQ(settings.interface_types, nuvkit::definition_of(Key::log_interfaces).fallback);
    EXPECT_EQ(settings.max_size, nuvkit::definition_of(Key::log_max_size).fallback);
    EXPECT_EQ(settings.max_files, nuvkit::definition_of(Key::log_max_files).fallback);
}

TEST(LogSection, KeysAreReadInAnyCaseAndNumbersInAnyBase) {
    const std::string file = base() + "/here.log";
    const auto log = log_of(
        "\xEF\xBB\xBF[log]\r\nLEVEL=0x80002\r\nsources=0x20000000\r\nMaxSize=0"
        "\r\nfile=" +
        file + "\r\n");
    ASSERT_NE(log, nullptr);
    EXPECT_EQ(log->get_logbits(), 0x80002U);
    log->writelog(2, 0x40000000, "not selected");
    EXPECT_EQ(fs::file_size(file), 0U);
    log->writelog(2, 0x20000000, "registry");
    EXPECT_GT(fs::file_size(file), 0U);
}

TEST(LogSection, WithoutADestinationTheFileIsInTheStateFolder) {
    setenv("XDG_STATE_HOME", base().c_str(), 1);
    EXPECT_NE(log_of("[LOG]\nConsole=enabled\n"), nullptr);
    EXPECT_FALSE(fs::exists(base() + "/nuv"));
    const auto log = log_of("[LOG]\n");
    ASSERT_NE(log, nullptr);
    EXPECT_EQ(log->get_logbits(), 0x9U);
    EXPECT_TRUE(fs::exists(base() + "/nuv/name." + std::to_string(getpid()) + ".log"));
}

}  // namespace
