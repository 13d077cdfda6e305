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
    publish(registry_with_update_held({held}));
    const Process child = attached_process(NUV_SHM_UPDATE_BYTE);
    nuvkit::Holder holder{child.pid(), 0};
    holder.start_ticks = said_of(child.pid(), run_tool({"who", "--json"}))["start_ticks"];
    nuvkit::set_holder(held, holder);
    publish(registry_with_update_held({held}));

    const Outcome outcome = run_tool({"who", "--json"});
    EXPECT_EQ(outcome.code, 0);
    const nlohmann::json person = said_of(child.pid(), outcome);
    ASSERT_TRUE(person.is_object());
    EXPECT_EQ(person["command"], "nuvctl_test");
    EXPECT_EQ(person["user"]["id"], geteuid());
    EXPECT_LE(std::abs(person["started"].get<std::int64_t>() - std::time(nullptr)), 60);
    EXPECT_EQ(person["cameras"], std::vector<unsigned int>{5});
    EXPECT_EQ(person["region"]["state"], "current");
    EXPECT_EQ(person["region"]["managers"], 2);
    EXPECT_EQ(person["region"]["update_lock"], true);

    const nlohmann::json status = run_tool({"status", "--json"}).json();
    EXPECT_EQ(status["mapped"]["managers"], 2);
    EXPECT_EQ(status["mapped"]["more_are_hidden"], false);
    EXPECT_EQ(status["mapped"]["incomplete"], false);
    EXPECT_EQ(outcome.json()["unexamined"]["incomplete"], false);
    EXPECT_EQ(status["semaphores"]["sem_update"]["state"], "held");
    EXPECT_EQ(status["semaphores"]["sem_update"]["lock"], "taken");
    EXPECT_EQ(status["semaphores"]["sem_update"]["lock_owner"]["pid"], child.pid());
}

TEST(Who, ProcessOnARemovedRegionIsFoundWithAndWithoutANewOne) {
    publish(registry_with({}));
    const Process child = attached_process(NUV_SHM_UPDATE_BYTE);
    std::filesystem::remove(registry_path());
    const Outcome without = run_tool({"who", "--json"});
    EXPECT_EQ(without.code, 7);
    EXPECT_EQ(said_of(child.pid(), without)["region"]["state"], "removed");
    publish(registry_with({}));
    const Outcome with = run_tool({"who", "--json"});
    EXPECT_EQ(with.code, 0);
    EXPECT_EQ(said_of(child.pid(), with)["region"]["state"], "removed");
    EXPECT_EQ(run_tool({"status", "--json"}).json()["mapped"]["managers"], 0);
}

TEST(Who, ProcessWhoseFirstThreadHasEndedIsStillAttached) {
    publish(registry_with({}));
    const Process child = attached_process(NUV_SHM_PRESENCE_BYTE, true);
    const nlohmann::json person = said_of(child.pid(), run_tool({"who", "--json"}));
    EXPECT_EQ(person["region"]["managers"], 2);
    EXPECT_EQ(person["region"]["update_lock"], false);
}

TEST(Who, DeadHolderIsGoneAndADeadHoldersLockIsFree) {
    NUV_Device held = camera(3, 8, 1, "");
    nuvkit::set_holder(held, dead_holder());
    publish(registry_with_update_held({held}));
    const nlohmann::json person = said_of(getpid(), run_tool({"who", "--json"}));
    EXPECT_EQ(person["alive"], false);
    EXPECT_EQ(person["cameras"], std::vector<unsigned int>{3});
    EXPECT_TRUE(person["region"].is_null());
    const Outcome table = run_tool({"who", "--no-headings"});
    const std::regex gone(std::to_string(getpid()) + " .* gone ");
    EXPECT_TRUE(std::regex_search(table.text, gone)) << table.text;
    const nlohmann::json status = run_tool({"status", "--json", "--watch", "0.05"}).json();
    EXPECT_EQ(status["semaphores"]["sem_update"]["lock"], "free");
    EXPECT_TRUE(status["semaphores"]["sem_update"]["lock_owner"].is_null());
}

TEST(Who, ProcessThatMayNotBeExaminedIsCounted) {
    publish(registry_with({}));
    const Process child = attached_process(NUV_SHM_UPDATE_BYTE);
    const Outcome outcome = run_tool({"who", "--json"}, {"setpriv", "--bounding-set=-sys_ptrace"});
    EXPECT_TRUE(said_of(child.pid(), outcome).is_null());
    EXPECT_GE(outcome.json()["unexamined"]["sharing_memory"], 1);
}

}  // namespace
