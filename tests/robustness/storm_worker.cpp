#include "storm_worker.h"

#include "region_view.h"
#include "roles.h"

#include <nuv/bits.h>
#include <nuv/device_manager.h>
#include <nuv/iftype.h>
#include <nuv/result.h>

#include <random>

namespace robustness {
namespace {

class Worker {
public:
    Worker(Storm_board& the_board, Worker_slot& slot, unsigned int seed)
        : board(the_board), self(slot), random(seed) {
        count_from_log(board);
    }

    bool go_on() { return !board.quit; }
    int roll(int most) { return std::uniform_int_distribution<int>(0, most)(random); }
    void nap(int most_us) { std::this_thread::sleep_for(std::chrono::microseconds(roll(most_us))); }

    /// What it does is said for who looks at a worker that hangs.
    void now(const char* what) {
        self.doing = what;
        ++self.progress;
    }

    void stay_parked() {
        self.parked = true;
        while (board.park && go_on()) {
            std::this_thread::sleep_for(milliseconds(1));
        }
        self.parked = false;
    }

    void attached(int fd) {
        ++board.attaches;
        self.inode = inode_of(fd);
        check_region(board, self, fd);
    }
    void detaching() { self.inode = 0; }
    void check(int fd) { check_region(board, self, fd); }

    /// An attempt may fail after a death, once. Stops are shorter than the wait for the gate.
    void refused(unsigned int answer) {
        ++board.refused;
        if (++refusals > 1) {
            fail("storm: refused with 0x%x, for the second time", answer);
        }
    }
    void accepted() { refusals = 0; }

    Storm_board& board;
    Worker_slot& self;

private:
    std::mt19937 random;
    int refusals = 0;
};

void use_registry(Worker& worker, CNuv_shm_manager& manager) {
    switch (worker.roll(3)) {
        case 0:
            worker.now("takes an id");
            take_id(worker.board, worker.self, manager);
            break;
        case 1:
            worker.now("refreshes the heartbeat");
            manager.update_time_stamp();
            break;
        case 2:
            worker.now("takes sem_update");
            manager.sema_update->wait();
            worker.nap(300);
            manager.sema_update->post();
            break;
        default:
            worker.nap(3000);
    }
}

/// A camera of the inventory, by chance.
unsigned int some_camera(Worker& worker, CNuv_device_manager& manager) {
    NUV_Device camera{};
    manager.shm_mgr->get_nuvdevice_listentry(worker.roll(5), camera);
    return camera.id;
}

void use_cameras(Worker& worker, CNuv_device_manager& manager) {
    CNuv_grab* grab = nullptr;
    switch (worker.roll(2)) {
        case 0:
            worker.now("scans");
            manager.scan_interface(NUV_IFTYPE_USB3);
            ++worker.board.scans;
            break;
        case 1:
            worker.now("opens a camera");
            if (manager.open_grab_device_from_id(some_camera(worker, manager), &grab) == 0) {
                ++worker.board.opens;
                worker.nap(2000);
                worker.now("closes a camera");
                manager.close_grab_device(grab);
            }
            break;
        default:
            worker.nap(20000);
    }
}

}  // namespace

int work_with_registry(Storm_board& board, Worker_slot& self, unsigned int seed) {
    Worker worker(board, self, seed);
    while (worker.go_on()) {
        worker.stay_parked();
        worker.now("attaches");
        const auto manager = make_manager();
        if (const unsigned int answer = manager->Initialize(); !is_success(answer)) {
            worker.refused(answer);
            continue;
        }
        worker.accepted();
        worker.attached(manager->m_hMem);
        for (int left = worker.roll(6); left > 0 && worker.go_on(); --left) {
            use_registry(worker, *manager);
            worker.check(manager->m_hMem);
            worker.stay_parked();
        }
        worker.detaching();
        worker.now("detaches");
        manager->close_shm();
        worker.nap(3000);
    }
    return 0;
}

int work_with_cameras(Storm_board& board, Worker_slot& self, unsigned int seed) {
    Worker worker(board, self, seed);
    while (worker.go_on()) {
        worker.stay_parked();
        CNuv_device_manager manager;
        manager.set_general_bits(NUV_BIT_LOG_DEVICE_MANAGER | NUV_BIT_LOG_INTERFACE |
                                 NUV_BIT_LOG_SHM_MANAGER | NUV_BIT_LOG_SEM_ACCESS);
        worker.now("starts a device manager");
        if (const unsigned int answer = manager.Initialize(); answer != NUV_NOERROR) {
            worker.refused(answer);
            continue;
        }
        worker.accepted();
        worker.attached(manager.shm_mgr->m_hMem);
        ++board.managers;
        for (int left = worker.roll(20); left > 0 && worker.go_on(); --left) {
            use_cameras(worker, manager);
            worker.check(manager.shm_mgr->m_hMem);
            worker.stay_parked();
        }
        worker.detaching();
        worker.now("ends a device manager");
    }
    return 0;
}

}  // namespace robustness
