// A `sem_rw` whose holder is killed, and one whose holder lives.
#include "region_view.h"
#include "roles.h"
#include "runs.h"

#include <nuv/result.h>

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

void lose_sem_rw() {
    start_holder(&CNuv_shm_manager::sema_rw).kill_and_wait();
    if (sem_rw_value() != 0) {
        fail("the holder of sem_rw has not died with it");
    }
}

void lone_newcomer(Tally& tally) {
    lose_sem_rw();
    const auto start = Clock::now();
    Member newcomer("a lone newcomer");
    newcomer.wait_until_attached(attach_bound + machine_slack);
    keep_slowest(tally.slowest_newcomer, start);
    newcomer.leave();
    see_region_gone("a lone newcomer");
}

void newcomers_that_give_up(Tally& tally) {
    lose_sem_rw();
    const auto start = Clock::now();
    for (int attempts = 0; attempts < 2; ++attempts) {
        Member newcomer("a newcomer");
        if (wait_for(tolerance, [&] { return newcomer.board->attached.load(); })) {
            keep_slowest(tally.slowest_newcomer, start);
            newcomer.leave();
            return;
        }
    }
    fail("the registry stays lost when newcomers give up after 4 s");
}

/// Has a camera in the list, and asks for it while `sem_rw` is lost.
void wait_for_camera(std::atomic<int>& waiting, Tally& tally, bool adds_camera) {
    const auto manager = make_manager();
    manager->Initialize();
    NUV_Device camera{};
    camera.serialnumber = 4711;
    camera.status_bits = NUV_STATUS_PRESENT;
    if (adds_camera) {
        unsigned int id = 0;
        manager->get_next_id(id);
        camera.id = id;
        manager->set_nuvdevice_to_free_listentry(camera);
    }
    ++waiting;
    if (!wait_for(machine_slack, [] { return sem_rw_value() == 0; })) {
        fail("nobody holds sem_rw");
    }
    interrupt_often();
    const auto start = Clock::now();
    NUV_Device found{};
    if (manager->get_nuvdevice_from_serialnumber(camera.serialnumber, found) != NUV_NOERROR) {
        fail("a camera is gone with the holder of sem_rw");
    }
    keep_slowest(tally.slowest_waiter, start);
}

void those_already_waiting(Tally& tally) {
    const Shared<std::atomic<int>> waiting;
    std::vector<Process> processes;
    for (int process = 0; process < 3; ++process) {
        processes.emplace_back([&] { wait_for_camera(*waiting, tally, process == 0); });
        wait_for(machine_slack, [&] { return *waiting == process + 1; });
    }
    lose_sem_rw();
    for (Process& process : processes) {
        if (!ends_well(process, attach_bound + machine_slack)) {
            fail("who waits for sem_rw does not go on after its holder's death");
        }
    }
}

void living_holder(Tally& /*tally*/) {
    Member member;
    member.wait_until_attached();
    // As where nobody has a time-stamp thread: too old within the holder's time.
    member.pause();
    age_heartbeat(tolerance.count() - 1);
    Process holder = start_holder(&CNuv_shm_manager::sema_rw, 3s);
    Member newcomer("who waited for a living holder");
    while (!holder.has_ended()) {
        if (newcomer.board->attached && sem_rw_value() == 0 && !holder.has_ended()) {
            fail("the living holder of sem_rw was robbed");
        }
        std::this_thread::sleep_for(5ms);
    }
    newcomer.wait_until_attached(machine_slack);
    const unsigned int answer = newcomer.board->answer;
    const long took = newcomer.board->attach_ms;
    if (answer != NUV_NOERROR || took < 2500) {
        fail("the newcomer was answered 0x%x after %ld ms beside a living holder", answer, took);
    }
    newcomer.leave();
    member.leave();
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
    std::this_thread::sleep_for(attach_bound + 1s);
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
    const Shared<Tally> tally;
    const bool well = run_in_lanes(8, kinds * rounds, [&](int number) {
        cases[number % kinds](*tally);
        ++tally->cases;
    });
    std::printf("lost_sem_rw: %d cases, slowest newcomer %ld ms, slowest waiter %ld ms\n",
                tally->cases.load(), tally->slowest_newcomer.load(), tally->slowest_waiter.load());
    return well;
}

}  // namespace robustness
