// Processes that end with a running manager in `nuv_dev_manager`, over the kit's own libraries.
#include "support/child_process.h"
#include "support/private_world.h"
#include "support/region_file.h"

#include <nuv/device_manager.h>
#include <nuv/result.h>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

bool is_forked_child = false;

}  // namespace

/// Asked by the leak sanitizer. What the parent's threads had in hand is lost in a forked child.
extern "C" int __lsan_is_turned_off() {
    return is_forked_child ? 1 : 0;
}

namespace {

/// Forks children that end as processes do, while its own threads scan and write their log, and
/// then ends so itself, with an open camera.
int fork_and_exit() {
    nuv_dev_manager = std::make_unique<CNuv_device_manager>();
    CNuv_grab* grab = nullptr;
    if (nuv_dev_manager->Initialize() != NUV_NOERROR ||
        nuv_dev_manager->open_grab_device_from_id(1, &grab) != NUV_NOERROR) {
        return 1;
    }
    nuv_dev_manager->stop_threads();
    nuv_dev_manager->scantime = 1;
    nuv_dev_manager->start_scan_thread();
    nuv_dev_manager->start_time_thread();
    const NUV_Devlist_Shm& region = *nuv_dev_manager->shm_mgr->devlist_shm;
    const auto users = region.opencount;
    for (int i = 0; i < 4; ++i) {
        usleep(700);
        const pid_t child = fork();
        if (child == 0) {
            is_forked_child = true;
            exit(0);
        }
        int status = 0;
        if (waitpid(child, &status, 0) != child || status != 0) {
            return 2;
        }
    }
    const bool still_open = (region.nuvdevice[0].status_bits & NUV_STATUS_GRAB_OPEN) != 0;
    return region.opencount == users && still_open ? 0 : 3;
}

TEST(Exit, GlobalManagerLeavesAndForkedChildrenLeaveItAlone) {
    nuv_test::write_ini("nuv_cameras", "[bench]\ninterface=USB3\nserial=7\n");
    nuv_test::write_ini("nuv_devicemgr", "[LOG]\nLevel=0xFFFFFFFF\nFile=" +
                                             nuv_test::config_folder() + "/manager.log\n");
    EXPECT_EQ(nuv_test::Process([] { exit(fork_and_exit()); }).wait(), 0);
    EXPECT_FALSE(nuv_test::region_exists());
}

}  // namespace
