// Processes that end with a running manager in `nuv_dev_manager`, over the kit's own libraries.
#include "support/child_process.h"
#include "support/private_world.h"

#include <nuv/device_manager.h>
#include <nuv/iftype.h>
#include <nuv/result.h>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

bool is_forked_child = false;

}  // namespace

/// Asked by the leak sanitizer. What the parent's threads had in hand is lost in a forked child.
extern "C" int __lsan_is_turned_off() {
    return is_forked_child ? 1 : 0;
}

namespace {

constexpr char region[] = "/dev/shm/nuv_device_shmem";

unsigned int start_with_open_camera() {
    nuv_dev_manager = std::make_unique<CNuv_device_manager>();
    if (const unsigned int error = nuv_dev_manager->Initialize(); error != 0) {
        return error;
    }
    if (const unsigned int error = nuv_dev_manager->scan_interface(NUV_IFTYPE_USB3); error != 0) {
        return error;
    }
    NUV_Device camera{};
    nuv_dev_manager->shm_mgr->get_nuvdevice_from_serialnumber(7, camera);
    CNuv_grab* grab = nullptr;
    return nuv_dev_manager->open_grab_device_from_id(camera.id, &grab);
}

int exit_with_open_camera(const std::vector<std::string>& /*arguments*/) {
    return start_with_open_camera() == 0 ? 0 : 1;
}
const nuv_test::Register_role exits("exit_with_open_camera", exit_with_open_camera);

int users() {
    return +nuv_dev_manager->shm_mgr->devlist_shm->opencount;
}

/// Forks children that end as processes do, while its own threads scan and write their log.
int fork_while_running(const std::vector<std::string>& /*arguments*/) {
    if (start_with_open_camera() != 0) {
        return 1;
    }
    nuv_dev_manager->stop_threads();
    nuv_dev_manager->scantime = 1;
    nuv_dev_manager->start_scan_thread();
    nuv_dev_manager->start_time_thread();
    const int before = users();
    std::vector<pid_t> children;
    for (int i = 0; i < 8; ++i) {
        usleep(700);
        children.push_back(fork());
        if (children.back() == 0) {
            is_forked_child = true;
            exit(0);
        }
    }
    for (const pid_t child : children) {
        int status = 0;
        if (waitpid(child, &status, 0) != child || status != 0) {
            return 2;
        }
    }
    NUV_Device camera{};
    nuv_dev_manager->shm_mgr->get_nuvdevice_from_serialnumber(7, camera);
    return users() == before && (camera.status_bits & NUV_STATUS_GRAB_OPEN) != 0 ? 0 : 3;
}
const nuv_test::Register_role forks("fork_while_running", fork_while_running);

class Exit : public testing::Test {
protected:
    void SetUp() override {
        nuv_test::write_ini("nuv_cameras", "[bench]\ninterface=USB3\nserial=7\n");
        nuv_test::write_ini("nuv_devicemgr", "[LOG]\nLevel=0xFFFFFFFF\nFile=" + log_file +
                                                 "\n[OPTIONS]\nScantime=500\nDifftime=1\n");
    }
    std::string logged() const {
        std::ostringstream text;
        text << std::ifstream(log_file).rdbuf();
        return text.str();
    }
    const std::string log_file = nuv_test::config_folder() + "/manager.log";
};

TEST_F(Exit, GlobalManagerClosesItsCameraAndLeaves) {
    EXPECT_EQ(nuv_test::Child::in_role("exit_with_open_camera").wait(), 0);
    EXPECT_FALSE(std::filesystem::exists(region));
    const std::string lines = logged();
    const std::size_t closed = lines.find("close and erase from list done size 0 err 0x0");
    const std::size_t ended = lines.find("~CNuv_device_manager: delete cdevlog");
    EXPECT_NE(closed, std::string::npos) << lines;
    EXPECT_NE(ended, std::string::npos) << lines;
    EXPECT_LT(closed, ended);
}

TEST_F(Exit, ForkedChildrenEndAndLeaveTheParentAlone) {
    EXPECT_EQ(nuv_test::Child::in_role("fork_while_running").wait(), 0);
    EXPECT_FALSE(std::filesystem::exists(region));
}

}  // namespace
