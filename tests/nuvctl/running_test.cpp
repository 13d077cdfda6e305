// Verbs that run a device manager, on bench cameras.
#include "nuvctl/hand_made_registry.h"
#include "nuvctl/tool.h"
#include "support/child_process.h"
#include "support/private_world.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <regex>

namespace {

using namespace nuv_test;

constexpr char left_camera[] = "[left]\ninterface = USB3\nserial = 101\n";
constexpr char right_camera[] = "[right]\ninterface = GIGE\nserial = 202\n";

class Running : public testing::Test {
protected:
    void SetUp() override { write_ini("nuv_devicemgr", "[OPTIONS]\nScantime = 500\n"); }

    /// Reads on to a line that matches.
    static void expect_line(Child& tool, const std::string& expression) {
        std::string seen;
        while (const auto line = tool.read_line()) {
            if (std::regex_search(*line, std::regex(expression))) {
                return;
            }
            seen += *line + '\n';
        }
        ADD_FAILURE() << expression << " is not in\n" << seen;
    }

    static void expect_orderly_end(Child& tool, int signal) {
        tool.signal(signal);
        EXPECT_EQ(tool.wait(), 0);
    }

    static std::string id_of(const std::string& selector) {
        return answer(0, {"show", selector})["cameras"].at(0)["id"].dump();
    }
};

TEST_F(Running, CamerasOfTheConfiguredInterfacesAreFollowedAndNothingIsLeftAtTheEnd) {
    const std::string config = config_folder() + "/any name";
    std::ofstream(config) << "[INTERFACES]\nUSB=0\nUSB3=0\nCLHS_SISO=0\nCLHS_KAYA=0\nME4=0\n";
    const std::string temporary = config_folder() + "/temporary";
    std::filesystem::create_directory(temporary);
    setenv("TMPDIR", temporary.c_str(), 1);
    write_ini("nuv_cameras", std::string(left_camera) + right_camera);
    Child manager = start_tool({"run", "--config", config});
    EXPECT_EQ(manager.read_line(),
              "device manager " + std::to_string(manager.pid()) + " is running, interfaces: GIGE");
    expect_line(manager, "appeared.*GIGE.*202.*\"right\"");
    write_ini("nuv_cameras", left_camera);
    expect_line(manager, "gone.*202");
    expect_orderly_end(manager, SIGTERM);
    EXPECT_FALSE(region_exists());
    EXPECT_TRUE(std::filesystem::is_empty(temporary));
}

TEST_F(Running, CameraInUseIsRefusedUntilItsHolderClosesItOrDies) {
    write_ini("nuv_cameras", std::string(left_camera) + right_camera);
    Child manager = start_tool({"run"});
    expect_line(manager, "appeared.*202");
    const std::string id = id_of("sn:101");

    Child holder = start_tool({"open", id});
    const std::string by_holder = std::to_string(holder.pid()) + " nuvctl";
    expect_line(holder, "camera " + id + " is open.*101");
    expect_line(manager, "camera " + id + " opened.*by " + by_holder);
    const Outcome second = run_tool({"open", id});
    EXPECT_EQ(second.code, 4);
    EXPECT_NE(second.messages.find("in use by " + by_holder), std::string::npos) << second.messages;
    expect_orderly_end(holder, SIGINT);
    expect_line(manager, "camera " + id + " closed");

    Child doomed = start_tool({"open", id});
    const std::string by_doomed = std::to_string(doomed.pid());
    expect_line(manager, "camera " + id + " opened.*by " + by_doomed);
    doomed.kill_and_wait();
    expect_line(manager, "camera " + id + " closed.*" + by_doomed + " gone");
    expect_orderly_end(manager, SIGINT);
}

TEST_F(Running, OpenNamesWhyACameraIsNotThere) {
    write_ini("nuv_cameras", std::string(left_camera) + right_camera + "open_result = 0x1234\n");
    Child manager = start_tool({"run"});
    expect_line(manager, "appeared.*101");
    const std::string no_usb3 = write_ini("no_usb3", "[INTERFACES]\nUSB3 = 0\n");
    const std::tuple<std::vector<std::string>, int, const char*> rows[] = {
        {{"open", "777"}, 3, "not in the registry"},
        {{"open", id_of("sn:202")}, 1, "0x00001234"},
        {{"open", id_of("sn:101"), "--config", no_usb3}, 1, "interface is not running"},
    };
    for (const auto& [words, code, reason] : rows) {
        const Outcome refused = run_tool(words);
        EXPECT_EQ(refused.code, code) << reason;
        EXPECT_NE(refused.messages.find(reason), std::string::npos) << refused.messages;
    }
    expect_orderly_end(manager, SIGTERM);
}

TEST_F(Running, OpenWaitsForALivingHolderOfTheUpdateLockUntilItIsInterrupted) {
    publish(registry_with({}, 0));
    Process holder = attached_process(NUV_SHM_UPDATE_BYTE);
    Child tool = start_tool({"open", "1"});
    expect_line(tool, "waiting.*sem_update");
    tool.signal(SIGINT);
    EXPECT_EQ(tool.wait(), 1);
    holder.kill_and_wait();
    EXPECT_EQ(run_tool({"open", "1"}).code, 3) << "outlives a dead one";
}

TEST_F(Running, OpenThatIsInterruptedClosesWhatItOpened) {
    write_ini("nuv_cameras", std::string(left_camera) + "open_delay_ms = 2000\n");
    Child manager = start_tool({"run"});
    expect_line(manager, "appeared.*101");
    Child tool = start_tool({"open", id_of("sn:101")});
    std::string held;
    while (held != "held") {
        held = answer(0, {"status", "--watch", "0.3"})["semaphores"]["sem_update"]["state"];
    }
    tool.signal(SIGINT);
    expect_line(tool, "interrupted");
    EXPECT_EQ(tool.wait(), 1);
    EXPECT_EQ(answer(0, {"show", "sn:101"})["cameras"][0]["state"], "present");
    expect_orderly_end(manager, SIGTERM);
}

TEST_F(Running, ServiceManagerHearsOfReadinessAndEnd) {
    const int channel = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string name = "nuv_test." + std::to_string(getpid());
    name.copy(address.sun_path + 1, name.size());
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    ASSERT_EQ(bind(channel, reinterpret_cast<sockaddr*>(&address), length), 0);
    setenv("NOTIFY_SOCKET", ("@" + name).c_str(), 1);
    const auto heard = [channel] {
        char text[64];
        const ssize_t count = recv(channel, text, sizeof text, 0);
        return std::string(text, count > 0 ? static_cast<std::size_t>(count) : 0);
    };
    Child manager = start_tool({"run"});
    EXPECT_EQ(heard(), "READY=1");
    EXPECT_EQ(run_tool({"list"}).code, 0);
    expect_orderly_end(manager, SIGTERM);
    EXPECT_EQ(heard(), "STOPPING=1");
    close(channel);
}

}  // namespace
