#include "nuvctl/hand_made_registry.h"
#include "nuvctl/tool.h"

#include <nuvkit/holder.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <regex>

namespace {

using namespace nuv_test;

TEST(Who, NamesWhoIsAttachedAndWhatItHolds) {
    NUV_Device held = camera(5, 8, 1, "");
    publish(registry_with({held}, 0));
    const Process child = attached_process(NUV_SHM_UPDATE_BYTE);
    nuvkit::Holder holder{child.pid(), 0};
    holder.start_ticks = said_of(child.pid(), answer(0, {"who"}))["start_ticks"];
    nuvkit::set_holder(held, holder);
    publish(registry_with({held}, 0));

    const nlohmann::json who = answer(0, {"who"});
    EXPECT_EQ(who["unexamined"]["incomplete"], false);
    const nlohmann::json person = said_of(child.pid(), who);
    ASSERT_TRUE(person.is_object());
    expect_fields(person, R"({
        "command": "nuvctl_test", "cameras": [5],
        "region": {"state": "current", "managers": 2, "update_lock": true}})"_json);
    EXPECT_EQ(person["user"]["id"], geteuid());
    EXPECT_LE(std::abs(person["started"].get<std::int64_t>() - std::time(nullptr)), 60);

    const nlohmann::json status = answer(0, {"status"});
    expect_fields(status, R"({
        "mapped": {"managers": 2, "more_are_hidden": false, "incomplete": false},
        "semaphores": {"sem_update": {"state": "held", "lock": "taken"}}})"_json);
    EXPECT_EQ(status["semaphores"]["sem_update"]["lock_owner"]["pid"], child.pid());
}

TEST(Who, ProcessOnARemovedRegionIsFoundWithAndWithoutANewOne) {
    publish(registry_with({}));
    const Process child = attached_process(NUV_SHM_UPDATE_BYTE);
    std::filesystem::remove(region_file);
    EXPECT_EQ(said_of(child.pid(), answer(7, {"who"}))["region"]["state"], "removed");
    publish(registry_with({}));
    EXPECT_EQ(said_of(child.pid(), answer(0, {"who"}))["region"]["state"], "removed");
    EXPECT_EQ(answer(0, {"status"})["mapped"]["managers"], 0);
}

TEST(Who, ProcessWhoseFirstThreadHasEndedIsStillAttached) {
    publish(registry_with({}));
    const Process child = attached_process(NUV_SHM_PRESENCE_BYTE, true);
    expect_fields(said_of(child.pid(), answer(0, {"who"})),
                  R"({"region": {"managers": 2, "update_lock": false}})"_json);
}

TEST(Who, DeadHolderIsGoneAndADeadHoldersLockIsFree) {
    NUV_Device held = camera(3, 8, 1, "");
    nuvkit::set_holder(held, dead_holder());
    publish(registry_with({held}, 0));
    const nlohmann::json person = said_of(getpid(), answer(0, {"who"}));
    expect_fields(person, R"({"alive": false, "cameras": [3]})"_json);
    EXPECT_TRUE(person["region"].is_null());
    const Outcome table = run_tool({"who", "--no-headings"});
    const std::regex gone(std::to_string(getpid()) + " .* gone ");
    EXPECT_TRUE(std::regex_search(table.text, gone)) << table.text;
    const nlohmann::json status = answer(0, {"status", "--watch", "0.05"});
    EXPECT_EQ(status["semaphores"]["sem_update"]["lock"], "free");
    EXPECT_TRUE(status["semaphores"]["sem_update"]["lock_owner"].is_null());
}

TEST(Who, ProcessThatMayNotBeExaminedIsCounted) {
    publish(registry_with({}));
    const Process child = attached_process(NUV_SHM_UPDATE_BYTE);
    const nlohmann::json who = answer(0, {"who"}, {"setpriv", "--bounding-set=-sys_ptrace"});
    EXPECT_TRUE(said_of(child.pid(), who).is_null());
    EXPECT_GE(who["unexamined"]["sharing_memory"], 1);
}

}  // namespace
