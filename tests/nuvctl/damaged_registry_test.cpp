#include "nuvctl/hand_made_registry.h"
#include "nuvctl/tool.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

namespace {

using namespace nuv_test;

/// All verbs answer with this code, a message, and a JSON object that names the state.
void expect_state(const std::string& state, int code, const std::vector<std::string>& before = {}) {
    const std::vector<std::vector<std::string>> verbs = {
        {"list"}, {"status"}, {"who"}, {"show", "1"}};
    for (std::vector<std::string> words : verbs) {
        const Outcome text = run_tool(words, before);
        EXPECT_EQ(text.code, code) << words[0];
        EXPECT_EQ(text.messages.rfind("nuvctl: ", 0), 0u) << text.messages;
        words.emplace_back("--json");
        const Outcome json = run_tool(words, before);
        EXPECT_EQ(json.code, code) << words[0];
        const nlohmann::json answer = json.json();
        EXPECT_EQ(answer["registry"], state);
        EXPECT_TRUE(answer["problem"].is_string());
    }
}

TEST(DamagedRegistry, AbsentAnswersSeven) {
    expect_state("absent", 7);
    EXPECT_EQ(run_tool({"open", "1"}).code, 7);
    EXPECT_FALSE(std::filesystem::exists(registry_path()));
}

TEST(DamagedRegistry, StaleAnswersSevenAndIsStillListed) {
    NUV_Devlist_Shm registry = registry_with({camera(5, 8, 1, "left behind")});
    registry.time_stamp -= 12;
    publish(registry);
    expect_state("stale", 7);
    EXPECT_EQ(run_tool({"list", "--no-headings"}).lines.size(), 1u);
    EXPECT_EQ(run_tool({"open", "5"}).code, 7);
}

TEST(DamagedRegistry, HeartbeatInTheFutureIsStale) {
    NUV_Devlist_Shm registry = registry_with({});
    registry.time_stamp += 3600;
    publish(registry);
    expect_state("stale", 7);
    const Outcome status = run_tool({"status", "--json"});
    EXPECT_EQ(status.json()["heartbeat"]["verdict"], "stale");
    EXPECT_LT(status.json()["heartbeat"]["age_seconds"], 0);
}

TEST(DamagedRegistry, WrongBytesAnswerOne) {
    publish(std::string());
    expect_state("too_short", 1);
    publish(std::string(NUV_SHM_SIZE - 1, 'x'));
    expect_state("too_short", 1);
    NUV_Devlist_Shm registry = registry_with({});
    registry.struct_version = 0x0100;
    publish(registry);
    expect_state("wrong_version", 1);
    // A longer one begins with all that a registry has.
    publish(std::string(published_bytes()).replace(0, 2, "\x01\x01") + "tail");
    EXPECT_EQ(run_tool({"list"}).code, 0);
}

TEST(DamagedRegistry, WhatIsNoFileAnswersOneAndHangsNobody) {
    std::filesystem::create_directory(registry_path());
    expect_state("unreadable", 1);
    std::filesystem::remove(registry_path());
    ASSERT_EQ(mkfifo(registry_path().c_str(), 0600), 0);
    expect_state("unreadable", 1);
    std::filesystem::remove(registry_path());
    std::filesystem::create_symlink("/nowhere", registry_path());
    expect_state("unreadable", 1);
}

TEST(DamagedRegistry, NoPermissionAnswersFive) {
    publish(registry_with({}));
    ASSERT_EQ(chmod(registry_path().c_str(), 0), 0);
    const std::vector<std::string> as_ordinary_user = {
        "setpriv", "--bounding-set=-dac_override,-dac_read_search"};
    expect_state("no_permission", 5, as_ordinary_user);
    ASSERT_EQ(chmod(registry_path().c_str(), 0444), 0);
    EXPECT_EQ(run_tool({"list"}, as_ordinary_user).code, 0);
    EXPECT_EQ(run_tool({"run"}, as_ordinary_user).code, 5);
}

}  // namespace
