#include "nuvctl/hand_made_registry.h"
#include "nuvctl/tool.h"
#include "support/child_process.h"

#include <nuvkit/holder.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <iostream>
#include <regex>
#include <thread>

namespace {

using namespace nuv_test;

/// Has the region mapped as two managers would, and the lock on one byte; then lets its first
/// thread end, if asked to.
int be_attached(const std::vector<std::string>& how) {
    const int region = open(registry_path().c_str(), O_RDWR | O_CLOEXEC);
    for (const int access : {PROT_READ | PROT_WRITE, PROT_READ | PROT_WRITE, PROT_READ}) {
        if (mmap(nullptr, NUV_SHM_SIZE, access, MAP_SHARED, region, 0) == MAP_FAILED) {
            return 1;
        }
    }
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_start = std::stol(how[0]);
    lock.l_len = 1;
    if (fcntl(region, F_OFD_SETLK, &lock) != 0) {
        return 1;
    }
    if (!how[1].empty()) {
        std::thread([] {
            while (access("/proc/self/exe", F_OK) == 0) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            std::cout << "attached" << std::endl;
            pause();
        }).detach();
        syscall(SYS_exit, 0);
    }
    std::cout << "attached" << std::endl;
    return pause();
}
const Register_role attached_role("attached to a hand-made registry", be_attached);

Child attached_process(long locked_byte, const std::string& how = "") {
    Child child =
        Child::in_role("attached to a hand-made registry", {std::to_string(locked_byte), how});
    EXPECT_EQ(child.read_line(), "attached");
    return child;
}

TEST(Who, NamesWhoIsAttachedAndWhatItHolds) {
    NUV_Device held = camera(5, 8, 1, "");
    publish(registry_with_update_held({held}));
    const Child child = attached_process(NUV_SHM_UPDATE_BYTE);
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
    const Child child = attached_process(NUV_SHM_UPDATE_BYTE);
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
    const Child child = attached_process(NUV_SHM_PRESENCE_BYTE, "without first thread");
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
    const Child child = attached_process(NUV_SHM_UPDATE_BYTE);
    const Outcome outcome = run_tool({"who", "--json"}, {"setpriv", "--bounding-set=-sys_ptrace"});
    EXPECT_TRUE(said_of(child.pid(), outcome).is_null());
    EXPECT_GE(outcome.json()["unexamined"]["sharing_memory"], 1);
}

}  // namespace
