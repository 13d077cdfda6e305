// A registry that is broken in one way: what doctor says of it, and what repair leaves.
#include "nuvctl/hand_made_registry.h"
#include "nuvctl/terminal.h"
#include "nuvctl/tool.h"
#include "support/child_process.h"
#include "support/private_world.h"

#include <nuv/iftype.h>

#include <nuvkit/holder.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <memory>

namespace {

using namespace nuv_test;

/// What one check found; null when it was not made.
nlohmann::json found_by(const std::string& check, const nlohmann::json& doctor) {
    nlohmann::json found;
    for (const nlohmann::json& one : doctor["checks"]) {
        EXPECT_FALSE(one["facts"].empty()) << one;
        EXPECT_EQ(one["verdict"] == "ok", one["remedies"].empty()) << one;
        if (one["name"] == check) {
            found = one;
        }
    }
    return found;
}

nlohmann::json expect_verdict(const std::string& check, const std::string& verdict, int code,
                              const std::vector<std::string>& before = {}) {
    nlohmann::json found = found_by(check, answer(code, {"doctor"}, before));
    EXPECT_EQ(found["verdict"], verdict) << check << ": " << found;
    return found;
}

/// Does not repair unasked, then does, and leaves no problem.
void expect_repair() {
    EXPECT_EQ(run_tool({"repair"}).code, 2);
    EXPECT_EQ(run_tool({"repair", "--dry-run"}).code, 0);
    EXPECT_TRUE(region_exists());
    const Outcome repair = run_tool({"repair", "--yes"});
    EXPECT_EQ(repair.code, 0) << repair.messages;
    EXPECT_NE(run_tool({"doctor"}).code, 1);
}

/// A problem that is mended by removing the registry.
void expect_removal(const std::string& check) {
    expect_verdict(check, "problem", 1);
    expect_repair();
    EXPECT_FALSE(region_exists());
}

NUV_Device camera_of_a_dead_process() {
    NUV_Device device = camera(5, NUV_IFTYPE_USB3, 1, "left");
    device.status_bits |= NUV_STATUS_GRAB_OPEN;
    nuvkit::set_holder(device, dead_holder());
    return device;
}

TEST(Doctor, NoRegistryIsNoProblemButAnswersSeven) {
    expect_verdict("registry", "warning", 7);
    EXPECT_EQ(run_tool({"repair", "--yes"}).code, 0);
    EXPECT_FALSE(region_exists());
}

TEST(Doctor, RegistryOfTheDeadIsNamedAndRemoved) {
    NUV_Devlist_Shm registry = registry_with({});
    publish(registry);
    expect_removal("managers");
    registry.time_stamp -= 11;
    publish(registry);
    expect_removal("heartbeat");
    registry.time_stamp += 3600;
    publish(registry);
    expect_verdict("heartbeat", "problem", 1);
}

TEST(Doctor, WhoCannotSeeAllIsWarnedOfARegistryOfTheDead) {
    publish(registry_with({}));
    const Outcome outcome = run_tool(
        {"doctor", "--json"}, {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"});
    if (outcome.code == 126 || outcome.code == 127) {
        GTEST_SKIP() << "another user may not enter the folder that the tool lies in";
    }
    EXPECT_EQ(found_by("managers", nlohmann::json::parse(outcome.text))["verdict"], "warning");
}

TEST(Doctor, WrongBytesAreNamedAndRemoved) {
    for (const std::size_t size : {100U, 30000U}) {
        publish(std::string(size, 'x'));
        expect_removal("format");
    }
    ASSERT_EQ(mkfifo(region_file, 0600), 0);
    expect_removal("registry");
    std::filesystem::create_directory(region_file);
    expect_verdict("registry", "problem", 1);
    EXPECT_EQ(run_tool({"repair", "--yes"}).code, 1);
    EXPECT_TRUE(std::filesystem::remove(region_file));
}

TEST(Doctor, FileThatTheSystemRefusesToOpenStays) {
    publish(registry_with({}));
    std::signal(SIGIO, SIG_IGN);  // it asks to give up the lease, which makes others' open fail
    const int file = open(region_file, O_RDWR | O_CLOEXEC);
    ASSERT_EQ(fcntl(file, F_SETLEASE, F_WRLCK), 0);
    expect_verdict("registry", "problem", 1);
    EXPECT_EQ(run_tool({"repair", "--yes", "--force"}).code, 1);
    EXPECT_TRUE(region_exists());
    close(file);
    std::signal(SIGIO, SIG_DFL);
}

TEST(Doctor, SemUpdateIsLeftToWhoHasMappedTheRegionAlone) {
    publish(registry_with({}, 0));
    const Process holder = process_with_a_mapping_alone();
    expect_verdict("semaphores", "warning", 0);
}

TEST(Doctor, ConfigurationIsCheckedToo) {
    write_ini("nuv_devicemgr", "[INTERFACES]\nUSB=0 ; enable later\n");
    expect_verdict("configuration", "warning", 7);
    write_ini("nuv_devicemgr", "[OPTIONS]\nScantime=11000\nDifftime=60\n");
    expect_verdict("configuration", "problem", 1);
    EXPECT_EQ(run_tool({"repair", "--yes"}).code, 1);
}

/// Doctor on a registry that a living manager keeps; its scans are off, so that it mends nothing.
class Doctor_beside_manager : public testing::Test {
protected:
    void SetUp() override {
        write_ini("nuv_devicemgr", "[OPTIONS]\nScan=0\n");
        manager = running_manager();
        ASSERT_EQ(run_tool({"doctor"}).code, 0);
    }

    static std::unique_ptr<Child> running_manager() {
        std::unique_ptr<Child> child(new Child(start_tool({"run"})));
        EXPECT_NE(child->read_line().value_or("").find("is running"), std::string::npos);
        return child;
    }

    static sem_t* semaphore(const Region& region, std::size_t offset) {
        return reinterpret_cast<sem_t*>(reinterpret_cast<char*>(region.get()) + offset);
    }

    std::unique_ptr<Child> manager;
};

TEST_F(Doctor_beside_manager, CountOfTheDeadIsNamedAndCorrectedWhenTheTerminalAgrees) {
    running_manager()->kill_and_wait();
    const auto answered = [](const char* word) {
        std::vector<std::string> command = startable({tool_path()});
        command.insert(command.begin(), {"/bin/sh", "-c", "exec \"$@\" repair >/dev/null", "sh"});
        Terminal terminal(command, 24, 80);
        EXPECT_TRUE(terminal.shows("Do it?")) << terminal.seen;
        terminal.type(word);
        return terminal.wait();
    };
    EXPECT_EQ(answered("n\n"), 1);
    expect_verdict("managers", "warning", 0);
    EXPECT_EQ(answered("y\n"), 0);
    expect_verdict("managers", "ok", 0);
    manager->signal(SIGTERM);
    EXPECT_EQ(manager->wait(), 0);
    EXPECT_FALSE(region_exists());
}

TEST_F(Doctor_beside_manager, CameraOfADeadProcessIsNamedAndFreed) {
    published_region()->nuvdevice[3] = camera_of_a_dead_process();
    expect_verdict("holders", "problem", 1);
    expect_repair();
    const nlohmann::json freed = answer(0, {"list"})["cameras"][0];
    EXPECT_EQ(freed["state"], "present");
    EXPECT_TRUE(freed["holder"].is_null());
}

TEST_F(Doctor_beside_manager, LostSemUpdateIsNamedAndFreed) {
    const auto update = [](int (&act)(sem_t*)) {
        return act(semaphore(published_region(), offsetof(NUV_Devlist_Shm, sem_update)));
    };
    ASSERT_EQ(update(sem_trywait), 0);
    expect_verdict("semaphores", "problem", 1);
    expect_repair();
    EXPECT_EQ(update(sem_trywait), 0) << "free";
    update(sem_post);
    update(sem_post);
    expect_verdict("semaphores", "warning", 0);
    expect_repair();
    expect_verdict("semaphores", "ok", 0);
}

TEST_F(Doctor_beside_manager, LostSemRwIsNamedAndLeftToTheLiving) {
    ASSERT_EQ(sem_trywait(semaphore(published_region(), offsetof(NUV_Devlist_Shm, sem_rw))), 0);
    published_region()->nuvdevice[0] = camera(7, NUV_IFTYPE_GIGE, 9, "kept");
    expect_verdict("semaphores", "problem", 1);
    EXPECT_EQ(run_tool({"repair", "--yes"}).code, 0);
    expect_verdict("semaphores", "ok", 0);
    EXPECT_EQ(answer(0, {"list"})["cameras"][0]["id"], 7);
}

TEST_F(Doctor_beside_manager, InterruptionEndsRepairAlsoAfterItsMends) {
    const Process holder = attached_process(NUV_SHM_UPDATE_BYTE);
    ASSERT_EQ(sem_trywait(semaphore(published_region(), offsetof(NUV_Devlist_Shm, sem_update))),
              0);  // doctor takes the process for its holder
    published_region()->nuvdevice[3] = camera_of_a_dead_process();
    Child repair = start_tool({"repair", "--yes"});
    EXPECT_EQ(repair.read_line(), "to do: free the cameras that dead processes hold");
    EXPECT_EQ(repair.read_line(), "done: free the cameras that dead processes hold");
    repair.signal(SIGINT);
    EXPECT_EQ(repair.wait(), -SIGINT);
}

TEST_F(Doctor_beside_manager, DuplicateSerialNumberIsNamed) {
    published_region()->nuvdevice[0] = camera(1, NUV_IFTYPE_GIGE, 9, "a");
    published_region()->nuvdevice[1] = camera(2, NUV_IFTYPE_USB3, 9, "b");
    expect_verdict("serial numbers", "ok", 0);
    published_region()->nuvdevice[2] = camera(3, NUV_IFTYPE_GIGE, 9, "c");
    expect_verdict("serial numbers", "warning", 0);
}

TEST_F(Doctor_beside_manager, RegistryThatKeepsOthersOutIsNamed) {
    ASSERT_EQ(chmod(region_file, 0664), 0);
    expect_verdict("access", "ok", 0);
    ASSERT_EQ(chmod(region_file, 0644), 0);
    expect_verdict("access", "ok", 0);
    write_ini("nuv_devicemgr", "[OPTIONS]\nScan=0\nGeneral_Bits=0x10000\n");
    expect_verdict("access", "warning", 0);
    ASSERT_EQ(chmod(region_file, 0), 0);
    expect_verdict("access", "problem", 1, as_ordinary_user);
    expect_verdict("name", "ok", 1, as_ordinary_user);
    EXPECT_EQ(run_tool({"repair", "--yes"}, as_ordinary_user).code, 5);
    const nlohmann::json who = answer(5, {"who"}, as_ordinary_user);
    EXPECT_EQ(said_of(manager->pid(), who)["region"]["state"], "current") << who;
}

TEST_F(Doctor_beside_manager, LivingProcessesAreNotHarmedUnlessForced) {
    manager->signal(SIGSTOP);
    published_region()->time_stamp -= 60;
    expect_verdict("heartbeat", "problem", 1);
    const std::string remedy = "$ kill -CONT " + std::to_string(manager->pid());
    EXPECT_NE(run_tool({"doctor"}).text.find(remedy), std::string::npos);
    EXPECT_EQ(run_tool({"repair", "--yes"}).code, 4);
    EXPECT_EQ(run_tool({"status"}).code, 7);
    EXPECT_EQ(run_tool({"repair", "--yes", "--force"}).code, 0);
    expect_verdict("managers", "ok", 0);
    manager->signal(SIGCONT);

    std::filesystem::remove(region_file);
    expect_verdict("name", "problem", 1);
    EXPECT_EQ(run_tool({"repair", "--yes"}).code, 4);
    const Outcome refusal = run_tool({"repair", "--dry-run"});
    EXPECT_EQ(refusal.code, 4);
    EXPECT_NE(refusal.lines[1].find(std::to_string(manager->pid()) + " nuvctl"), std::string::npos);
    manager->signal(SIGSTOP);
    EXPECT_EQ(run_tool({"repair", "--yes", "--force"}).code, 0);
    EXPECT_EQ(manager->wait(), 0);
    expect_verdict("name", "ok", 7);
}

TEST_F(Doctor_beside_manager, ProcessOnAnotherRegistryIsNamed) {
    const std::string run = tool_path() + " run";
    Child elsewhere({"/bin/sh", "-c",
                     "exec unshare -m sh -c 'mount -t tmpfs none /dev/shm && exec " + run + "'"});
    EXPECT_TRUE(elsewhere.read_line());
    const std::string id = std::to_string(elsewhere.pid());
    const nlohmann::json found = expect_verdict("namespaces", "warning", 0);
    EXPECT_NE(found.dump().find(id + " nuvctl"), std::string::npos) << found;
}

}  // namespace
