// A `sem_rw` whose holder is killed, and one whose holder lives.
#include "region_view.h"
#include "roles.h"
#include "runs.h"
#include "worlds.h"

#include <nuv/result.h>

#include <csignal>
#include <cstdio>
#include <iterator>
#include <vector>

namespace robustness {
namespace {

struct Tally {
    std::atomic<long> slowest_newcomer{0};
    std::atomic<long> slowest_waiter{0};
    std::atomic<int> cases{0};
};

/// Attaches, and holds `sem_rw` for so long or until it is killed.
Process start_holder(milliseconds how_long) {
    Process holder([how_long] {
        const auto manager = make_manager();
        if (!is_success(manager->Initialize())) {
            return 1;
        }
        manager->sema_rw->wait();
        std::this_thread::sleep_for(how_long);
        manager->sema_rw->post();
        return 0;
    });
    if (!wait_for(machine_slack, [] { return region_exists() && sem_rw_value() == 0; })) {
        fail("nobody holds sem_rw");
    }
    return holder;
}

constexpr std::chrono::hours until_killed(1);

void lone_newcomer(Tally& tally) {
    start_holder(until_killed).kill();
    Member newcomer;
    newcomer.wait_until_attached(attach_bound + machine_slack, "a lone newcomer");
    keep_slowest(tally.slowest_newcomer, newcomer.attach_time().count());
    newcomer.wait_until_left("a lone newcomer");
    if (region_exists()) {
        fail("a lone newcomer leaves the region behind");
    }
}

void newcomers_that_give_up(Tally& tally) {
    start_holder(until_killed).kill();
    const auto start = Clock::now();
    for (int attempt = 1;; ++attempt) {
        Member newcomer;
        if (wait_for(tolerance, [&] { return newcomer.is_attached(); })) {
            keep_slowest(tally.slowest_newcomer, milliseconds_since(start));
            newcomer.wait_until_left("a newcomer");
            break;
        }
        newcomer.process.kill();
        if (attempt > 1) {
            fail("the registry stays lost when newcomers give up after 4 s");
        }
    }
}

struct Waiting {
    std::atomic<int> waiting{0};
    std::atomic<int> through{0};
};

/// Has a camera in the list, and asks for it while `sem_rw` is lost.
int wait_for_camera(Waiting& board, Tally& tally, bool adds_camera) {
    const auto manager = make_manager();
    manager->Initialize();
    constexpr unsigned int serial = 4711;
    if (adds_camera) {
        unsigned int id = 0;
        manager->get_next_id(id);
        NUV_Device camera{};
        camera.id = id;
        camera.serialnumber = serial;
        camera.status_bits = NUV_STATUS_PRESENT;
        manager->set_nuvdevice_to_free_listentry(camera);
    }
    ++board.waiting;
    if (!wait_for(machine_slack, [] { return sem_rw_value() == 0; })) {
        return 1;
    }
    interrupt_often();
    const auto start = Clock::now();
    NUV_Device found{};
    const unsigned int result = manager->get_nuvdevice_from_serialnumber(serial, found);
    keep_slowest(tally.slowest_waiter, milliseconds_since(start));
    if (result != NUV_NOERROR) {
        fail("a camera is gone with the holder of sem_rw");
    }
    ++board.through;
    return 0;
}

void those_already_waiting(Tally& tally) {
    const Shared<Waiting> board;
    std::vector<Process> waiting;
    constexpr int count = 3;
    for (int process = 0; process < count; ++process) {
        waiting.emplace_back([&, process] { return wait_for_camera(*board, tally, process == 0); });
        wait_for(machine_slack, [&] { return board->waiting == process + 1; });
    }
    start_holder(until_killed).kill();
    for (Process& process : waiting) {
        if (!process.wait_until_ended(attach_bound + machine_slack) || process.result() != 0) {
            fail("who waits for sem_rw does not go on after its holder's death");
        }
    }
}

void living_holder(Tally& /*tally*/) {
    Member member;
    member.wait_until_attached(attach_bound, "a member");
    // As where nobody has a time-stamp thread: too old within the holder's time.
    member.pause("a member");
    age_heartbeat(tolerance.count() - 1);
    Process holder = start_holder(std::chrono::seconds(3));
    Member newcomer;
    while (holder.look() != Process::State::ended) {
        if (newcomer.is_attached() && sem_rw_value() == 0 &&
            holder.look() != Process::State::ended) {
            fail("the living holder of sem_rw was robbed");
        }
        std::this_thread::sleep_for(milliseconds(5));
    }
    newcomer.wait_until_attached(machine_slack, "who waited for a living holder");
    if (newcomer.answer() != NUV_NOERROR || newcomer.attach_time() < milliseconds(2500)) {
        fail("the newcomer was answered 0x%x after %ld ms beside a living holder",
             newcomer.answer(), static_cast<long>(newcomer.attach_time().count()));
    }
    newcomer.wait_until_left("the newcomer");
    member.wait_until_left("a member");
}

/// A thread of the same manager has it for longer than the tolerance, and lives.
void holder_in_the_same_manager(Tally& /*tally*/) {
    const auto manager = make_manager();
    manager->Initialize();
    manager->sema_rw->wait();
    std::atomic<bool> refreshed{false};
    std::thread heartbeat([&] {
        manager->update_time_stamp();
        refreshed = true;
    });
    std::this_thread::sleep_for(attach_bound + std::chrono::seconds(1));
    const bool robbed = refreshed;
    manager->sema_rw->post();
    heartbeat.join();
    if (robbed || sem_rw_value() != 1) {
        fail("sem_rw was taken from a thread of the same manager, or is %d after it",
             sem_rw_value());
    }
}

}  // namespace

bool run_lost_sem_rw(int rounds) {
    constexpr void (*cases[])(Tally&) = {lone_newcomer, newcomers_that_give_up,
                                         those_already_waiting, living_holder,
                                         holder_in_the_same_manager};
    constexpr int kinds = static_cast<int>(std::size(cases));
    const int count = kinds * (rounds > 0 ? rounds : 1);
    const Shared<Tally> tally;
    const bool well = run_in_lanes(8, count, [&](int number) {
        remove_region_file();
        cases[number % kinds](*tally);
        ++tally->cases;
    });
    std::printf("lost_sem_rw: %d cases, slowest newcomer %ld ms, slowest waiter %ld ms\n",
                tally->cases.load(), tally->slowest_newcomer.load(), tally->slowest_waiter.load());
    return well;
}

}  // namespace robustness
