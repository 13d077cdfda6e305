#include "region_view.h"
#include "roles.h"
#include "step_calls.h"
#include "storm.h"

#include <nuv/bits.h>
#include <nuv/device_manager.h>
#include <nuv/iftype.h>
#include <nuv/result.h>

#include <algorithm>
#include <csignal>
#include <random>

namespace robustness {
namespace {

class Worker {
public:
    Worker(Storm_board& the_board, Worker_slot& slot, unsigned int seed)
        : board(the_board), self(slot), random(seed) {}

    void live_with_registry() {
        now("attaches");
        const auto manager = make_manager();
        const unsigned int answer = manager->Initialize();
        if (!is_accepted(is_success(answer), answer)) {
            return;
        }
        stay_attached(manager->m_hMem, 6, [&] { use_registry(*manager); });
        now("detaches");
        manager->close_shm();
        nap(3000);
    }

    void live_with_cameras() {
        CNuv_device_manager manager;
        manager.set_general_bits(NUV_BIT_LOG_DEVICE_MANAGER | NUV_BIT_LOG_INTERFACE |
                                 NUV_BIT_LOG_SHM_MANAGER | NUV_BIT_LOG_SEM_ACCESS);
        now("starts a device manager");
        const unsigned int answer = manager.Initialize();
        if (!is_accepted(answer == NUV_NOERROR, answer)) {
            return;
        }
        ++board.managers;
        stay_attached(manager.shm_mgr->m_hMem, 20, [&] { use_cameras(manager); });
        now("ends a device manager");
    }

    void stay_parked() {
        self.parked = true;
        while (board.park && !board.quit) {
            std::this_thread::sleep_for(1ms);
        }
        self.parked = false;
    }

private:
    int roll(int most) { return std::uniform_int_distribution<int>(0, most)(random); }
    void nap(int most_us) { std::this_thread::sleep_for(std::chrono::microseconds(roll(most_us))); }

    /// What it does is said for who looks at a worker that hangs.
    void now(const char* what) {
        self.doing = what;
        ++self.progress;
    }

    /// An attempt may fail after a death, once. Stops are shorter than the wait for the gate.
    bool is_accepted(bool success, unsigned int answer) {
        refusals = success ? 0 : refusals + 1;
        ++(success ? board.attaches : board.refused);
        if (refusals > 1) {
            fail("storm: refused with 0x%x, for the second time", answer);
        }
        return success;
    }

    void stay_attached(int fd, int most_uses, const std::function<void()>& use) {
        self.inode = inode_of(fd);
        check_region();
        for (int left = roll(most_uses); left > 0 && !board.quit; --left) {
            use();
            check_region();
            stay_parked();
        }
        self.inode = 0;
    }

    /// The region has its name, and no other living worker is attached to another one now.
    void check_region() {
        if (self.inode != region_inode()) {
            fail("storm: attached to a region without a name");
        }
        for (const Worker_slot& other : board.workers) {
            const pid_t pid = other.pid;
            const ino_t inode = other.inode;
            // This one is attached all the while; so a living one with another region is on it now.
            if (inode != 0 && inode != self.inode && pid != 0 && kill(pid, 0) == 0 &&
                !other.doomed && other.pid == pid && other.inode == inode) {
                fail("storm: two workers are attached to different regions");
            }
        }
    }

    /// Under `sem_rw`. No id was handed out before since the region was created or cleared.
    void take_id(CNuv_shm_manager& manager) {
        manager.sema_rw->wait();
        self.in_list = true;
        unsigned int id = 0;
        const unsigned int result = manager.get_next_id(id);
        const bool unsure = board.ids_unsure;
        const unsigned int last = board.last_id.exchange(id);
        const bool cleared = board.clears_at_last_id.exchange(board.clears) != board.clears;
        const bool elsewhere = board.region_of_last_id.exchange(self.inode) != self.inode;
        if (board.holder_wanted.exchange(false)) {
            self.lingers = true;
            std::this_thread::sleep_for(50ms);
            self.lingers = false;
        }
        self.in_list = false;
        manager.sema_rw->post();
        ++board.ids;
        board.unsure_ids += unsure ? 1 : 0;
        if (result != NUV_NOERROR || (id <= last && !cleared && !elsewhere && !unsure)) {
            fail("storm: id %u after %u, without a clear between (0x%x)", id, last, result);
        }
    }

    void use_registry(CNuv_shm_manager& manager) {
        switch (roll(3)) {
            case 0:
                now("takes an id");
                take_id(manager);
                break;
            case 1:
                now("refreshes the heartbeat");
                manager.update_time_stamp();
                break;
            case 2:
                now("takes sem_update");
                manager.sema_update->wait();
                nap(300);
                manager.sema_update->post();
                break;
            default:
                nap(3000);
        }
    }

    void use_cameras(CNuv_device_manager& manager) {
        NUV_Device camera{};
        CNuv_grab* grab = nullptr;
        switch (roll(2)) {
            case 0:
                now("scans");
                manager.scan_interface(NUV_IFTYPE_USB3);
                ++board.scans;
                break;
            case 1:
                now("opens a camera");
                manager.shm_mgr->get_nuvdevice_listentry(roll(5), camera);
                if (manager.open_grab_device_from_id(camera.id, &grab) == NUV_NOERROR) {
                    ++board.opens;
                    nap(2000);
                    now("closes a camera");
                    manager.close_grab_device(grab);
                }
                break;
            default:
                nap(20000);
        }
    }

    Storm_board& board;
    Worker_slot& self;
    std::mt19937 random;
    int refusals = 0;
};

/// Whoever is stopped while it changes the list goes on beside the next holder of `sem_rw`, once it
/// has been taken for dead.
bool is_holder_robbed(const Storm_board& board) {
    return std::any_of(board.workers.begin(), board.workers.end(), [](const Worker_slot& worker) {
        return worker.stopped && !worker.doomed && worker.in_list;
    });
}

}  // namespace

void count_from_log(Storm_board& board) {
    watch_lines([&board](const std::string& line) {
        const auto contains = [&](const char* part) { return line.find(part) != line.npos; };
        if (contains("clear list of devices")) {
            board.ids_unsure = is_holder_robbed(board);
            ++board.clears;
        } else if (contains("sem_rw was held for too long")) {
            board.ids_unsure = is_holder_robbed(board) || board.ids_unsure;
            ++board.freed_rw;
        } else if (contains("sem_update was held by a dead process")) {
            ++board.freed_update;
        }
    });
}

void work(Storm_board& board, Worker_slot& self, unsigned int seed, bool with_cameras) {
    count_from_log(board);
    Worker worker(board, self, seed);
    while (!board.quit) {
        worker.stay_parked();
        with_cameras ? worker.live_with_cameras() : worker.live_with_registry();
    }
}

}  // namespace robustness
