// A `sem_update` whose holder is killed or stopped in the middle of a scan or an open, or is a
// neighbour that knows nothing of the locks.
#include "counting_log.h"
#include "old_neighbour.h"
#include "region_view.h"
#include "roles.h"
#include "runs.h"
#include "step_calls.h"
#include "support/private_world.h"
#include "worlds.h"

#include <nuv/bits.h>
#include <nuv/device_manager.h>
#include <nuv/iftype.h>
#include <nuv/result.h>

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <iterator>

namespace robustness {
namespace {

using namespace std::chrono_literals;

constexpr unsigned int serial = 7;
/// How long a scan and an open take.
constexpr milliseconds backend_delay(400);
/// A second of suspicion, the slices before it, and the look for old neighbours.
constexpr milliseconds recovery_bound = 2s;

struct Board {
    std::atomic<bool> ready{false};
    std::atomic<bool> go{false};
    std::atomic<bool> through{false};
    std::atomic<bool> said_freed{false};
    std::atomic<bool> said_taken{false};
    std::atomic<unsigned int> answer{0};
    std::atomic<long> took_ms{0};
    std::atomic<long> stop_ms{0};
};

struct Tally {
    std::atomic<int> cases{0};
    std::atomic<int> recoveries{0};
    std::atomic<long> slowest_recovery{0};
    std::atomic<long> slowest_stop{0};
    std::atomic<long> slowest_shutdown{0};
};

void configure() {
    nuv_test::write_ini("nuv_devicemgr",
                        "[INTERFACES]\nUSB=0\nME4=0\nCLHS_SISO=0\nCLHS_KAYA=0\nGIGE=0\n"
                        "[OPTIONS]\nScan=0\n");
    const std::string delay = std::to_string(backend_delay.count());
    nuv_test::write_ini("nuv_cameras",
                        "[backend USB3]\nscan_delay_ms=" + delay +
                            "\n[bench]\ninterface=USB3\nserial=7\nopen_delay_ms=" + delay + "\n");
}

std::unique_ptr<CNuv_device_manager> start_manager(Board& board) {
    watch_lines([&board](const std::string& line) {
        board.said_freed = board.said_freed || line.find("held by a dead process") != line.npos;
        board.said_taken =
            board.said_taken || line.find("sem_update has been taken for") != line.npos;
    });
    auto manager = std::make_unique<CNuv_device_manager>();
    manager->SetLog(make_log().release());
    manager->set_general_bits(NUV_BIT_LOG_DEVICE_MANAGER);
    if (manager->Initialize() != NUV_NOERROR || manager->scan_interface(NUV_IFTYPE_USB3) != 0) {
        fail("a device manager does not start");
    }
    return manager;
}

unsigned int open_camera(CNuv_device_manager& manager) {
    NUV_Device camera{};
    manager.shm_mgr->get_nuvdevice_from_serialnumber(serial, camera);
    CNuv_grab* grab = nullptr;
    return manager.open_grab_device_from_id(camera.id, &grab);
}

void wait_for_flag(const std::atomic<bool>& flag, milliseconds at_most, const char* what) {
    if (!wait_for(at_most, [&] { return flag.load(); })) {
        fail("lost_sem_update: %s", what);
    }
}

constexpr milliseconds start_bound = 10s;

void do_nothing() {}

/// Opens the camera when it is told to.
Process start_opener(Board& board, void (*prepare)() = do_nothing) {
    Process opener([&board, prepare] {
        const auto manager = start_manager(board);
        prepare();
        board.ready = true;
        wait_for_flag(board.go, 30s, "an opener is not told to go");
        const auto start = Clock::now();
        board.answer = open_camera(*manager);
        board.took_ms = milliseconds_since(start);
        board.through = true;
        return 0;
    });
    wait_for_flag(board.ready, start_bound, "an opener does not start");
    return opener;
}

enum class Work { scan, open };

/// In the middle of a scan or an open when this returns.
Process start_holder(Board& board, Work work) {
    Process holder([&board, work] {
        const auto manager = start_manager(board);
        board.ready = true;
        wait_for_flag(board.go, 30s, "a holder is not told to go");
        if (work == Work::open) {
            open_camera(*manager);
        } else {
            manager->scantime = 1;
            manager->start_scan_thread();
        }
        std::this_thread::sleep_for(1h);
        return 0;
    });
    wait_for_flag(board.ready, start_bound, "a holder does not start");
    board.go = true;
    if (!wait_for(start_bound, [] { return sem_update_value() == 0; })) {
        fail("lost_sem_update: nobody holds it");
    }
    std::this_thread::sleep_for(backend_delay / 4);
    return holder;
}

/// Right after the holder's death.
void see_recovery(Board& opener, Tally& tally) {
    const auto death = Clock::now();
    const milliseconds whole = recovery_bound + backend_delay + machine_slack;
    if (!wait_for(whole, [&] { return opener.through.load(); })) {
        fail("lost_sem_update: an open does not get through after its holder's death");
    }
    const long recovered = milliseconds_since(death);
    if (!opener.said_freed) {
        fail("lost_sem_update: nothing in the log about the dead holder");
    }
    // The opener closes its camera as it ends.
    if (!wait_for(machine_slack, [] { return sem_update_value() == 1; })) {
        fail("lost_sem_update: it is %d after the recovery", sem_update_value());
    }
    ++tally.recoveries;
    keep_slowest(tally.slowest_recovery, recovered);
}

void killed_holder(Tally& tally, Work work) {
    const Shared<Board> holding;
    const Shared<Board> opening;
    const Process opener = start_opener(*opening, interrupt_often);
    Process holder = start_holder(*holding, work);
    holder.kill();
    if (sem_update_value() != 0) {
        fail("lost_sem_update: the holder died too late to hold it");
    }
    opening->go = true;
    see_recovery(*opening, tally);
}

void killed_in_scan(Tally& tally) {
    killed_holder(tally, Work::scan);
}

void killed_in_open(Tally& tally) {
    killed_holder(tally, Work::open);
}

void stopped_holder(Tally& /*tally*/) {
    const Shared<Board> holding;
    const Shared<Board> opening;
    const Process opener = start_opener(*opening);
    const Process holder = start_holder(*holding, Work::open);
    holder.signal(SIGSTOP);
    opening->go = true;
    if (wait_for(7s, [&] { return opening->through || sem_update_value() != 0; })) {
        fail("lost_sem_update: a stopped holder was robbed");
    }
    if (!opening->said_taken) {
        fail("lost_sem_update: nothing in the log after a wait of 7 s");
    }
    holder.signal(SIGCONT);
    wait_for_flag(opening->through, backend_delay * 4 + machine_slack,
                  "an open does not get through after the holder went on");
    if (opening->said_freed || !wait_for(machine_slack, [] { return sem_update_value() == 1; })) {
        fail("lost_sem_update: a stopped holder was robbed in the end");
    }
}

void old_neighbour(Tally& tally) {
    const Shared<Board> opening;
    const Process opener = start_opener(*opening);
    Old_neighbour first;
    opening->go = true;
    if (wait_for(4s, [&] { return opening->through || sem_update_value() != 0; })) {
        fail("lost_sem_update: a living old neighbour was robbed");
    }
    first.kill();
    see_recovery(*opening, tally);
}

/// Root without the right to look into others, as in many containers.
void give_up_looking_into_others() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct rights[_LINUX_CAPABILITY_U32S_3]{};
    syscall(SYS_capget, &header, rights);
    rights[0].effective &= ~(1U << CAP_SYS_PTRACE);
    syscall(SYS_capset, &header, rights);
}

void old_neighbour_out_of_sight(Tally& /*tally*/) {
    const Shared<Board> opening;
    const Process opener = start_opener(*opening, give_up_looking_into_others);
    constexpr uid_t somebody = 65534;
    Old_neighbour neighbour(somebody);
    opening->go = true;
    if (wait_for(3s, [&] { return opening->through || sem_update_value() != 0; })) {
        fail("lost_sem_update: an old neighbour that can't be looked into was robbed");
    }
    neighbour.post_and_leave();
    wait_for_flag(opening->through, backend_delay + machine_slack,
                  "an open does not get through after an old neighbour's post");
}

/// Also when it posts, and goes, right when somebody looks for it: before the n-th step of the
/// waiter, for every n.
void old_neighbour_that_goes(Tally& /*tally*/) {
    const auto manager = make_manager();
    manager->Initialize();
    // Taking the byte, four slices, the look, a slice, the look.
    constexpr long steps = 8;
    for (long step = 1; step <= steps; ++step) {
        Old_neighbour neighbour;
        act_before_step(step, [&] { neighbour.post_and_leave(); });
        manager->sema_update->wait();
        stop_counting_steps();
        manager->sema_update->post();
        if (sem_update_value() != 1) {
            fail("lost_sem_update: it is %d when an old neighbour goes before step %ld",
                 sem_update_value(), step);
        }
    }
}

void shutdown(Tally& tally) {
    const Shared<Board> board;
    Process process([&] {
        nuv_dev_manager = start_manager(*board);
        if (open_camera(*nuv_dev_manager) != 0) {
            return 1;
        }
        nuv_dev_manager->scantime = 10;
        nuv_dev_manager->start_scan_thread();
        board->ready = true;
        wait_for_flag(board->go, 30s, "a process is not told to end");
        const auto stop = Clock::now();
        nuv_dev_manager->stop_threads();
        board->stop_ms = milliseconds_since(stop);
        const auto end = Clock::now();
        nuv_dev_manager.reset();
        board->took_ms = milliseconds_since(end);
        return 0;
    });
    wait_for_flag(board->ready, start_bound, "a manager does not start");
    Old_neighbour for_ever;
    std::this_thread::sleep_for(6s);
    if (!board->said_taken) {
        fail("lost_sem_update: nothing in the log after a scan's wait of 6 s");
    }
    board->go = true;
    if (!process.wait_until_ended(10s + start_bound) || process.result() != 0) {
        fail("lost_sem_update: a process does not end while somebody keeps it");
    }
    keep_slowest(tally.slowest_stop, board->stop_ms);
    keep_slowest(tally.slowest_shutdown, board->took_ms);
}

}  // namespace

bool run_lost_sem_update(int rounds) {
    constexpr void (*cases[])(Tally&) = {shutdown,
                                         stopped_holder,
                                         old_neighbour,
                                         killed_in_scan,
                                         killed_in_open,
                                         old_neighbour_that_goes,
                                         old_neighbour_out_of_sight};
    constexpr int kinds = static_cast<int>(std::size(cases));
    configure();
    const Shared<Tally> tally;
    const bool well = run_in_lanes(kinds, kinds * (rounds > 0 ? rounds : 1), [&](int number) {
        remove_region_file();
        cases[number % kinds](*tally);
        ++tally->cases;
    });
    std::printf(
        "lost_sem_update: %d cases, %d recoveries, slowest open after a death %ld ms, "
        "slowest stop %ld ms, slowest shutdown %ld ms\n",
        tally->cases.load(), tally->recoveries.load(), tally->slowest_recovery.load(),
        tally->slowest_stop.load(), tally->slowest_shutdown.load());
    return well;
}

}  // namespace robustness
