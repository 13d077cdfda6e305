#include "member.h"
#include "region_view.h"
#include "step_calls.h"
#include "support/stand_in_log.h"

#include <nuv/bits.h>
#include <nuv/device_manager.h>
#include <nuv/iftype.h>
#include <nuv/result.h>

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <random>
#include <utility>

namespace robustness {
namespace {

/// As root in many containers.
void give_up_rights(unsigned int given_up) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct rights[_LINUX_CAPABILITY_U32S_3]{};
    syscall(SYS_capget, &header, rights);
    rights[0].effective &= ~given_up;
    syscall(SYS_capset, &header, rights);
}

std::unique_ptr<CNuv_device_manager> make_device_manager() {
    auto manager = std::make_unique<CNuv_device_manager>();
    manager->SetLog(nuv_test::make_log().release());
    manager->set_general_bits(NUV_BIT_LOG_DEVICE_MANAGER | NUV_BIT_LOG_INTERFACE |
                              NUV_BIT_LOG_SHM_MANAGER | NUV_BIT_LOG_SEM_ACCESS);
    return manager;
}

/// Only the first time counts that it comes to the planned phase.
class Life {
public:
    Life(Member::Board& its_board, const Habits& its_habits, const Plan& its_plan)
        : board(its_board), habits(its_habits), plan(its_plan) {
        board.asked_to_pause = habits.pauses_first;
        if (habits.ledger != nullptr) {
            listen_for(*habits.ledger);
        }
        if (plan.phase == Phase::none) {
            interrupt_often();
        }
        if (habits.use == Use::heartbeat) {
            own = make_manager();
        } else {
            cameras = make_device_manager();
        }
    }

    void live() {
        while (!attach()) {
            if (++board.retries >= habits.attempts) {
                board.refused = true;
                return;
            }
        }
        board.inode = inode_of((cameras ? *cameras->shm_mgr : *own).m_hMem);
        give_up_rights(habits.rights_given_up);
        board.attached = true;
        do {
            // All that are attached see to it: so no two are attached to different ones.
            if (board.inode != region_inode()) {
                fail("attached to a region without the name");
            }
            board.paused = board.asked_to_pause.load();
            if (!board.paused) {
                cameras ? use_cameras() : use_registry();
                ++board.beats;
            }
            std::this_thread::sleep_for(milliseconds(random() % 3));
        } while (!board.asked_to_leave && board.beats != habits.beats);
        board.attached = false;
        take_steps(Phase::leave, [this] {
            cameras.reset();
            own.reset();
        });
        board.left = true;
    }

private:
    void take_steps(Phase phase, const std::function<void()>& steps) {
        if (phase != plan.phase) {
            steps();
            return;
        }
        plan.phase = Phase::none;
        act_before_step(
            plan.step, [this] { act(); }, plan.from_line);
        steps();
        const long count = stop_counting_steps();
        if (forking) {
            wait_for(machine_slack, [this] { return board.child != 0; });
            raise(plan.signal);
        }
        board.steps = count;
    }

    /// Where the library lets no fork come between two steps, it comes between later ones.
    void act() {
        if (plan.forks) {
            forking = true;
            std::thread([this] { fork_idle_child(); }).detach();
            if (!wait_for(10ms, [this] { return board.child != 0; })) {
                return;
            }
        }
        raise(plan.signal);
    }

    /// What the other thread is doing at this moment goes on in the parent only. The child says so
    /// itself: by then the library has let go of what is the parent's.
    void fork_idle_child() {
        if (fork() == 0) {
            board.child = getpid();
            sleep(60);
            _exit(0);
        }
    }

    bool attach() {
        take_steps(Phase::attach,
                   [this] { board.answer = cameras ? cameras->Initialize() : own->Initialize(); });
        const bool attached = board.answer == NUV_NOERROR || board.answer == NUV_DIFFTIME_OUT;
        if (cameras && attached) {
            cameras->scan_interface(NUV_IFTYPE_USB3);
        }
        return attached;
    }

    void use_registry() {
        take_steps(Phase::heartbeat, [this] { own->update_time_stamp(); });
        if (habits.uses_update) {
            take_steps(Phase::update, [this] {
                own->sema_update->wait();
                own->sema_update->post();
            });
        }
        if (habits.ledger != nullptr) {
            take_id(*habits.ledger);
        }
    }

    /// Under `sem_rw`. No id was handed out before since the region was created or cleared.
    void take_id(Ledger& ledger) {
        own->sema_rw->wait();
        unsigned int id = 0;
        const unsigned int result = own->get_next_id(id);
        const unsigned int last = ledger.last_id.exchange(id);
        const bool cleared = ledger.clears_at_last_id.exchange(ledger.clears) != ledger.clears;
        const bool elsewhere = ledger.region_of_last_id.exchange(board.inode) != board.inode;
        if (random() % 100 == 0) {
            std::this_thread::sleep_for(20ms);  // so that a death meets a holder now and then
        }
        own->sema_rw->post();
        if (result != NUV_NOERROR || (id <= last && !cleared && !elsewhere)) {
            fail("id %u after %u, without a clear between (0x%x)", id, last, result);
        }
    }

    void use_cameras() {
        const bool often = habits.use == Use::open_and_close;
        if (grab != nullptr && often) {
            cameras->close_grab_device(std::exchange(grab, nullptr));
        } else if (often || (board.beats == 0 && habits.use != Use::scan)) {
            NUV_Device camera{};
            cameras->shm_mgr->get_nuvdevice_listentry(often ? static_cast<int>(random() % 3) : 0,
                                                      camera);
            cameras->open_grab_device_from_id(camera.id, &grab);
        }
        if (habits.use == Use::scan || habits.use == Use::open_once_and_scan) {
            cameras->scantime = 10;
            cameras->start_scan_thread();
        }
    }

    Member::Board& board;
    const Habits habits;
    Plan plan;
    bool forking = false;
    std::unique_ptr<CNuv_shm_manager> own;
    std::unique_ptr<CNuv_device_manager> cameras;
    CNuv_grab* grab = nullptr;
    std::minstd_rand random{std::random_device{}()};
};

}  // namespace

std::unique_ptr<CNuv_shm_manager> make_manager() {
    static CNuv_Log* const log = nuv_test::make_log().release();
    auto manager =
        std::make_unique<CNuv_shm_manager>(log, NUV_BIT_LOG_SHM_MANAGER | NUV_BIT_LOG_SEM_ACCESS);
    manager->set_difftime(tolerance.count());
    return manager;
}

void listen_for(Ledger& ledger) {
    watch_lines([&ledger](const std::string& line) {
        const auto contains = [&](const char* part) { return line.find(part) != line.npos; };
        ledger.clears += contains("clear list of devices") ? 1 : 0;
        ledger.freed += contains("sem_update was held by a dead process") ? 1 : 0;
        ledger.taken += contains("sem_update has been taken for") ? 1 : 0;
    });
}

Member::Member(const char* who, const Habits& habits, const Plan& plan)
    : process([&] { Life(*board, habits, plan).live(); }), name(who) {}

}  // namespace robustness
