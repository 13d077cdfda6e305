// A `sem_update` whose holder is killed or stopped in the middle of a scan or an open, or is a
// neighbour that knows nothing of the locks.
#include "member.h"
#include "region_view.h"
#include "runs.h"
#include "step_calls.h"
#include "support/private_world.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <iterator>

namespace robustness {
namespace {

/// How long a scan and an open take.
constexpr milliseconds backend_delay(800);
/// A second of suspicion, the slices before it, and the look for old neighbours.
constexpr milliseconds recovery_bound = 2s;
/// Who waits for longer says so.
constexpr milliseconds first_line = 5s;

void configure() {
    nuv_test::write_ini("nuv_devicemgr",
                        "[INTERFACES]\nUSB=0\nME4=0\nCLHS_SISO=0\nCLHS_KAYA=0\nGIGE=0\n"
                        "[OPTIONS]\nScan=0\n");
    const std::string delay = std::to_string(backend_delay.count());
    nuv_test::write_ini("nuv_cameras",
                        "[backend USB3]\nscan_delay_ms=" + delay +
                            "\n[bench]\ninterface=USB3\nserial=7\nopen_delay_ms=" + delay + "\n");
}

template <class Condition>
void see(const char* what, milliseconds at_most, Condition holds) {
    if (!wait_for(at_most, holds)) {
        fail("lost_sem_update: not in time: %s; it is %d", what, sem_update_value());
    }
}

/// In the middle of a scan or an open when this returns.
template <Use use>
Process start_user() {
    Habits habits;
    habits.use = use;
    Member user("a holder of sem_update", habits);
    user.wait_until_attached();
    see("somebody holds it", 10s, [] { return sem_update_value() == 0; });
    std::this_thread::sleep_for(backend_delay / 4);
    return std::move(user.process);
}

/// Uses the region as a library does that knows nothing of its locks. Holds `sem_update` when this
/// returns, and posts it at SIGTERM. Its first thread may end while another holds it.
template <uid_t user, bool first_thread_ends, bool keeps_descriptor = true>
Process start_old_neighbour() {
    return nuv_test::ready_process([](const nuv_test::Ready& is_ready) {
        const int file = shm_open(NUV_SHM_NAME, O_RDWR, 0);
        auto* const region = static_cast<unsigned char*>(
            mmap(nullptr, NUV_SHM_SIZE, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0));
        if (!keeps_descriptor) {
            close(file);
        }
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
            is_ready();
            nuv_test::wait_for_sigterm();
            sem_post(sem_update);
        };
        if (first_thread_ends) {
            std::thread(hold).detach();
            syscall(SYS_exit, 0);
        }
        hold();
    });
}

constexpr auto start_root_neighbour = start_old_neighbour<0, false>;

constexpr uid_t somebody = 65534;
/// Rights to look into other processes: to follow their descriptors, or to open their folders.
constexpr unsigned int to_follow = 1U << CAP_SYS_PTRACE;
constexpr unsigned int to_open = 1U << CAP_DAC_OVERRIDE | 1U << CAP_DAC_READ_SEARCH;

/// A holder, how long nobody may take `sem_update` from it, and the signal that ends that.
struct Hold {
    const char* name;
    Process (*start)();
    milliseconds kept;
    int end;
    unsigned int rights_given_up = 0;  ///< by who waits
};

constexpr Hold holds[] = {
    {"stopped in an open", start_user<Use::open_once>, first_line + 2s, SIGCONT},
    {"old neighbour", start_root_neighbour, 4s, SIGKILL},
    {"old neighbour in its second thread", start_old_neighbour<0, true>, 4s, SIGKILL},
    {"neighbour that has mapped it alone", start_old_neighbour<0, false, false>, 4s, SIGKILL},
    {"killed in a scan", start_user<Use::scan>, 200ms, SIGKILL},
    {"killed in an open", start_user<Use::open_once>, 200ms, SIGKILL},
    {"nobody may follow", start_old_neighbour<somebody, false>, 4s, SIGTERM, to_follow},
    {"nobody may look into", start_old_neighbour<somebody, false>, 4s, SIGTERM, to_open},
};

/// An open waits, beside somebody who only reads the region.
void play(const Hold& now) {
    const Shared<Ledger> ledger;
    Habits habits;
    habits.use = Use::open_once;
    habits.pauses_first = true;
    habits.rights_given_up = now.rights_given_up;
    habits.ledger = ledger.get();
    Member opener("who opens a camera", habits);
    opener.wait_until_attached();
    const Process reader([] {
        const int file = shm_open(NUV_SHM_NAME, O_RDONLY, 0);
        if (mmap(nullptr, NUV_SHM_SIZE, PROT_READ, MAP_SHARED, file, 0) == MAP_FAILED) {
            fail("a reader of the region does not map it");
        }
        std::this_thread::sleep_for(1h);
    });
    const Process holder = now.start();
    if (now.end == SIGCONT) {
        holder.signal(SIGSTOP);
    }
    opener.board->asked_to_pause = false;
    if (wait_for(now.kept, [&] { return opener.board->beats > 0 || sem_update_value() != 0; })) {
        fail("lost_sem_update: it was taken from one that lives: %s", now.name);
    }
    holder.signal(now.end);
    const auto end = Clock::now();
    see(now.name, recovery_bound + backend_delay + machine_slack,
        [&] { return opener.board->beats > 0; });
    see(now.name, 0s, [] { return sem_update_value() == 1; });
    const bool dies = now.end == SIGKILL;
    if ((ledger->freed != 0) != dies || (ledger->taken != 0) != (now.kept > first_line)) {
        fail("lost_sem_update: the log tells something else: %s", now.name);
    }
    if (dies) {
        keep_slowest(end);
    }
    opener.leave();
}

/// Also when it posts, and goes, right when somebody looks for it: before the n-th step of the
/// waiter, for every n.
void old_neighbour_that_goes() {
    const auto manager = make_manager();
    manager->Initialize();
    // Taking the byte, twelve slices, the look, a slice, the look.
    constexpr long steps = 16;
    for (long step = 1; step <= steps; ++step) {
        Process neighbour = start_root_neighbour();
        act_before_step(step, [&] {
            neighbour.signal(SIGTERM);
            neighbour.wait();
        });
        manager->sema_update->wait();
        stop_counting_steps();
        manager->sema_update->post();
        see("it is free when an old neighbour has gone", 0s,
            [] { return sem_update_value() == 1; });
    }
}

/// In the waiter's own process, for shorter than anybody is taken for dead.
void holder_beside_the_wrapper() {
    const auto manager = make_manager();
    manager->Initialize();
    sem_wait(manager->sema_update->sem);
    std::atomic<bool> robbed{false};
    std::thread waiter([&] {
        manager->sema_update->wait();
        robbed = true;
        manager->sema_update->post();
    });
    std::this_thread::sleep_for(2s);
    const bool robbed_while_held = robbed;
    sem_post(manager->sema_update->sem);
    waiter.join();
    if (robbed_while_held || sem_update_value() != 1) {
        fail("lost_sem_update: it was taken after 2 s, and is %d", sem_update_value());
    }
}

/// With a scan that waits, a camera left open, and somebody who keeps `sem_update`.
void shutdown() {
    const Shared<Ledger> ledger;
    Habits habits;
    habits.use = Use::open_once_and_scan;
    habits.ledger = ledger.get();
    Member member("who shuts down", habits);
    member.wait_until_attached();
    member.wait_for_beats();
    const Process for_ever = start_root_neighbour();
    see("the log tells of a scan's wait", first_line + machine_slack,
        [&] { return ledger->taken != 0; });
    member.leave();
}

}  // namespace

void run_lost_sem_update(int rounds) {
    constexpr void (*others[])() = {shutdown, old_neighbour_that_goes, holder_beside_the_wrapper};
    constexpr int other_kinds = static_cast<int>(std::size(others));
    constexpr int kinds = other_kinds + static_cast<int>(std::size(holds));
    configure();
    run_in_lanes(kinds, kinds * rounds, [&](int number) {
        const int kind = number % kinds;
        kind < other_kinds ? others[kind]() : play(holds[kind - other_kinds]);
        ++tally().cases;
    });
}

}  // namespace robustness
