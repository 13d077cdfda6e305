// A `sem_update` whose holder is killed or stopped in the middle of a scan or an open, or is a
// neighbour that knows nothing of the locks.
#include "region_view.h"
#include "roles.h"
#include "runs.h"
#include "step_calls.h"
#include "support/private_world.h"
#include "support/stand_in_log.h"

#include <nuv/bits.h>
#include <nuv/device_manager.h>
#include <nuv/iftype.h>
#include <nuv/result.h>

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <iterator>

namespace robustness {
namespace {

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

void wait_for_flag(const std::atomic<bool>& flag, milliseconds at_most, const char* what) {
    if (!wait_for(at_most, [&] { return flag.load(); })) {
        fail("lost_sem_update: %s", what);
    }
}

using Manager = std::unique_ptr<CNuv_device_manager>;
using Work = void (*)(Manager& manager);

Manager start_manager(Board& board) {
    watch_lines([&board](const std::string& line) {
        board.said_freed = board.said_freed || line.find("held by a dead process") != line.npos;
        board.said_taken =
            board.said_taken || line.find("sem_update has been taken for") != line.npos;
    });
    auto manager = std::make_unique<CNuv_device_manager>();
    manager->SetLog(nuv_test::make_log().release());
    manager->set_general_bits(NUV_BIT_LOG_DEVICE_MANAGER);
    if (manager->Initialize() != NUV_NOERROR || manager->scan_interface(NUV_IFTYPE_USB3) != 0) {
        fail("a device manager does not start");
    }
    return manager;
}

/// A process with a device manager, which does its work when it is told to.
Process start(Board& board, Work prepare, const std::function<void(Manager&)>& work) {
    Process process([&] {
        Manager manager = start_manager(board);
        prepare(manager);
        board.ready = true;
        wait_for_flag(board.go, 30s, "a process is not told to go");
        work(manager);
        board.through = true;
    });
    wait_for_flag(board.ready, 10s, "a manager does not start");
    return process;
}

void do_nothing(Manager& /*manager*/) {}

void open_camera(Manager& manager) {
    NUV_Device camera{};
    manager->shm_mgr->get_nuvdevice_from_serialnumber(7, camera);
    CNuv_grab* grab = nullptr;
    manager->open_grab_device_from_id(camera.id, &grab);
}

void start_scans(Manager& manager) {
    manager->scantime = 10;
    manager->start_scan_thread();
}

Process start_opener(Board& board, Work prepare = do_nothing) {
    return start(board, prepare, open_camera);
}

/// In the middle of a scan or an open when this returns.
Process start_holder(Board& board, Work work) {
    Process holder = start(board, do_nothing, [work](Manager& manager) {
        work(manager);
        std::this_thread::sleep_for(1h);
    });
    board.go = true;
    if (!wait_for(10s, [] { return sem_update_value() == 0; })) {
        fail("lost_sem_update: nobody holds it");
    }
    std::this_thread::sleep_for(backend_delay / 4);
    return holder;
}

/// Uses the region as a library does that knows nothing of its locks. Holds `sem_update` when this
/// returns, and posts it at SIGTERM. Its first thread may end while another holds it.
Process start_old_neighbour(uid_t user = 0, bool first_thread_ends = false) {
    const Shared<std::atomic<bool>> holds;
    Process neighbour([&] {
        sigset_t term;
        sigemptyset(&term);
        sigaddset(&term, SIGTERM);
        sigprocmask(SIG_BLOCK, &term, nullptr);
        auto* const region =
            static_cast<unsigned char*>(mmap(nullptr, NUV_SHM_SIZE, PROT_READ | PROT_WRITE,
                                             MAP_SHARED, shm_open(NUV_SHM_NAME, O_RDWR, 0), 0));
        if (region == MAP_FAILED || setuid(user) != 0) {
            fail("an old neighbour does not attach");
        }
        // As if that user had started it; the signal has to be asked for again.
        prctl(PR_SET_DUMPABLE, 1);
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        auto* const sem_update =
            reinterpret_cast<sem_t*>(region + offsetof(NUV_Devlist_Shm, sem_update));
        const auto hold = [&] {
            sem_wait(sem_update);
            *holds = true;
            int signal = 0;
            sigwait(&term, &signal);
            sem_post(sem_update);
        };
        if (first_thread_ends) {
            std::thread(hold).detach();
            syscall(SYS_exit, 0);
        }
        hold();
    });
    wait_for_flag(*holds, 5s, "an old neighbour does not get it");
    return neighbour;
}

void post_and_leave(Process& old_neighbour) {
    old_neighbour.signal(SIGTERM);
    if (!ends_well(old_neighbour, 5s)) {
        fail("lost_sem_update: an old neighbour does not leave");
    }
}

void see_kept(const Board& opener, milliseconds how_long, const char* holder) {
    if (wait_for(how_long, [&] { return opener.through || sem_update_value() != 0; })) {
        fail("lost_sem_update: %s was robbed", holder);
    }
}

void see_through(const Board& opener, milliseconds at_most, bool after_a_death) {
    wait_for_flag(opener.through, at_most + machine_slack, "an open does not get through");
    if (opener.said_freed != after_a_death) {
        fail("lost_sem_update: the log says %s about a dead holder",
             after_a_death ? "nothing" : "something");
    }
    // The opener closes its camera as it ends.
    if (!wait_for(machine_slack, [] { return sem_update_value() == 1; })) {
        fail("lost_sem_update: it is %d after an open", sem_update_value());
    }
}

/// Right after the holder's death.
void see_recovery(const Board& opener, Tally& tally) {
    const auto death = Clock::now();
    see_through(opener, recovery_bound + backend_delay, true);
    ++tally.recoveries;
    keep_slowest(tally.slowest_recovery, death);
}

/// With somebody beside it who only reads the region.
template <Work work>
void killed_holder(Tally& tally) {
    const Shared<Board> holding;
    const Shared<Board> opening;
    const Process opener = start_opener(*opening, [](Manager& /*manager*/) { interrupt_often(); });
    const Process reader([] {
        const int region = shm_open(NUV_SHM_NAME, O_RDONLY, 0);
        std::this_thread::sleep_for(1h);
        close(region);
    });
    start_holder(*holding, work).kill_and_wait();
    if (sem_update_value() != 0) {
        fail("lost_sem_update: the holder died too late to hold it");
    }
    opening->go = true;
    see_recovery(*opening, tally);
}

void stopped_holder(Tally& /*tally*/) {
    const Shared<Board> holding;
    const Shared<Board> opening;
    const Process opener = start_opener(*opening);
    const Process holder = start_holder(*holding, open_camera);
    holder.signal(SIGSTOP);
    opening->go = true;
    see_kept(*opening, 7s, "a stopped holder");
    if (!opening->said_taken) {
        fail("lost_sem_update: nothing in the log after a wait of 7 s");
    }
    holder.signal(SIGCONT);
    see_through(*opening, backend_delay * 4, false);
}

template <bool first_thread_ends>
void old_neighbour(Tally& tally) {
    const Shared<Board> opening;
    const Process opener = start_opener(*opening);
    Process neighbour = start_old_neighbour(0, first_thread_ends);
    opening->go = true;
    see_kept(*opening, 4s, "a living old neighbour");
    neighbour.kill_and_wait();
    see_recovery(*opening, tally);
}

/// Root without the right to look into others, as in many containers: to follow their descriptors,
/// or to open the folders with them.
template <unsigned int... rights_given_up>
void give_up_rights(Manager& /*manager*/) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct rights[_LINUX_CAPABILITY_U32S_3]{};
    syscall(SYS_capget, &header, rights);
    rights[0].effective &= ~((1U << rights_given_up) | ...);
    syscall(SYS_capset, &header, rights);
}

template <Work give_up>
void old_neighbour_out_of_sight(Tally& /*tally*/) {
    const Shared<Board> opening;
    const Process opener = start_opener(*opening, give_up);
    constexpr uid_t somebody = 65534;
    Process neighbour = start_old_neighbour(somebody);
    opening->go = true;
    see_kept(*opening, 3s, "an old neighbour that can't be looked into");
    post_and_leave(neighbour);
    see_through(*opening, backend_delay, false);
}

/// Also when it posts, and goes, right when somebody looks for it: before the n-th step of the
/// waiter, for every n.
void old_neighbour_that_goes(Tally& /*tally*/) {
    const auto manager = make_manager();
    manager->Initialize();
    // Taking the byte, four slices, the look, a slice, the look.
    constexpr long steps = 8;
    for (long step = 1; step <= steps; ++step) {
        Process neighbour = start_old_neighbour();
        act_before_step(step, [&] { post_and_leave(neighbour); });
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
    const auto open_and_scan = [](Manager& manager) {
        open_camera(manager);
        if (manager->grabdev_list.empty()) {
            fail("lost_sem_update: there is no camera to leave open");
        }
        start_scans(manager);
    };
    Process process = start(*board, open_and_scan, [&tally](Manager& manager) {
        auto begin = Clock::now();
        manager->stop_threads();
        keep_slowest(tally.slowest_stop, begin);
        begin = Clock::now();
        manager.reset();
        keep_slowest(tally.slowest_shutdown, begin);
    });
    const Process for_ever = start_old_neighbour();
    std::this_thread::sleep_for(6s);
    if (!board->said_taken) {
        fail("lost_sem_update: nothing in the log after a scan's wait of 6 s");
    }
    board->go = true;
    if (!ends_well(process, 20s)) {
        fail("lost_sem_update: a process does not end while somebody keeps it");
    }
}

}  // namespace

bool run_lost_sem_update(int rounds) {
    constexpr void (*cases[])(Tally&) = {
        shutdown,
        stopped_holder,
        old_neighbour<false>,
        old_neighbour<true>,
        killed_holder<start_scans>,
        killed_holder<open_camera>,
        old_neighbour_that_goes,
        old_neighbour_out_of_sight<give_up_rights<CAP_SYS_PTRACE>>,
        old_neighbour_out_of_sight<give_up_rights<CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH>>};
    constexpr int kinds = static_cast<int>(std::size(cases));
    configure();
    const Shared<Tally> tally;
    const bool well = run_in_lanes(kinds, kinds * rounds, [&](int number) {
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
