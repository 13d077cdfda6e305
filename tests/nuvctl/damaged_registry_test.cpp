#include "nuvctl/hand_made_registry.h"
#include "nuvctl/tool.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <ctime>
#include <filesystem>

namespace {

using namespace nuv_test;

/// All verbs answer with this code, a message, and a JSON object that names the state.
void expect_state(const std::string& state, int code, const std::vector<std::string>& before = {}) {
    const std::vector<std::vector<std::string>> verbs = {
        {"list"}, {"status"}, {"who"}, {"show", "1"}};
    for (const std::vector<std::string>& words : verbs) {
        const Outcome text = run_tool(words, before);
        EXPECT_EQ(text.code, code) << words[0];
        EXPECT_EQ(text.messages.rfind("nuvctl: ", 0), 0u) << text.messages;
        const nlohmann::json json = answer(code, words, before);
        EXPECT_EQ(json["registry"], state);
        EXPECT_TRUE(json["problem"].is_string());
    }
}

TEST(DamagedRegistry, AbsentAnswersSeven) {
    expect_state("absent", 7);
    EXPECT_EQ(run_tool({"open", "1"}).code, 7);
    EXPECT_FALSE(region_exists());
}

TEST(DamagedRegistry, StaleAnswersSevenAndIsStillListed) {
    NUV_Devlist_Shm registry = registry_with({camera(5, 8, 1, "left behind")});
    for (const int age : {12, -3600}) {
        registry.time_stamp = std::time(nullptr) - age;
        publish(registry);
        expect_state("stale", 7);
        EXPECT_EQ(answer(7, {"status"})["heartbeat"]["verdict"], "stale");
        EXPECT_EQ(run_tool({"list", "--no-headings"}).lines.size(), 1u);
        EXPECT_EQ(run_tool({"open", "5"}).code, 7);
    }
}

TEST(DamagedRegistry, WrongBytesAnswerOne) {
    NUV_Devlist_Shm registry = registry_with({});
    const std::string bytes(reinterpret_cast<const char*>(&registry), sizeof registry);
    for (const std::size_t size : {std::size_t{0}, bytes.size() - 1}) {
        publish(bytes.substr(0, size));
        expect_state("too_short", 1);
    }
    publish(bytes + "tail");
    EXPECT_EQ(run_tool({"list"}).code, 0) << "begins with all that a registry has";
    registry.struct_version = 0x0100;
    publish(registry);
    expect_state("wrong_version", 1);
}

TEST(DamagedRegistry, WhatIsNoFileAnswersOneAndHangsNobody) {
    std::filesystem::create_directory(region_file);
    expect_state("unreadable", 1);
    std::filesystem::remove(region_file);
    ASSERT_EQ(mkfifo(region_file, 0600), 0);
    expect_state("unreadable", 1);
    std::filesystem::remove(region_file);
    std::filesystem::create_symlink("/nowhere", region_file);
    expect_state("unreadable", 1);
}

TEST(DamagedRegistry, NoPermissionAnswersFive) {
    publish(registry_with({}));
    ASSERT_EQ(chmod(region_file, 0), 0);
    expect_state("no_permission", 5, as_ordinary_user);
    ASSERT_EQ(chmod(region_file, 0444), 0);
    EXPECT_EQ(run_tool({"list"}, as_ordinary_user).code, 0);
    EXPECT_EQ(run_tool({"run"}, as_ordinary_user).code, 5);
    std::filesystem::remove(region_file);
    ASSERT_EQ(chmod("/dev/shm", 0555), 0);
    EXPECT_EQ(run_tool({"run"}, as_ordinary_user).code, 5);
    ASSERT_EQ(chmod("/dev/shm", 01777), 0);
}

}  // namespace
