// A `sem_rw` whose holder is killed, or lives; and a thread that keeps both semaphores.
#include "member.h"
#include "region_view.h"
#include "runs.h"

#include <nuv/result.h>

#include <iterator>

namespace robustness {
namespace {

void lose_sem_rw() {
    start_holder(&CNuv_shm_manager::sema_rw).kill_and_wait();
    if (sem_rw_value() != 0) {
        fail("the holder of sem_rw has not died with it");
    }
}

/// Each is alone, and the first gives up before the registry can be found stale.
void newcomers_that_give_up() {
    lose_sem_rw();
    const auto start = Clock::now();
    for (int attempts = 0; attempts < 2; ++attempts) {
        Member newcomer("a newcomer");
        if (wait_for(tolerance, [&] { return newcomer.board->attached.load(); })) {
            keep_slowest(start);
            newcomer.leave();
            see_region_gone("newcomers after a lost sem_rw");
            return;
        }
    }
    fail("the registry stays lost when newcomers give up after 4 s");
}

/// They free it, and leave the list alone.
void those_already_waiting() {
    Member first("who waits for a lost sem_rw");
    Member second("who waits beside another");
    first.wait_until_attached();
    second.wait_until_attached();
    add_old_camera();
    lose_sem_rw();
    const auto start = Clock::now();
    first.wait_for_beats();
    second.wait_for_beats();
    keep_slowest(start);
    if (!has_old_camera()) {
        fail("a camera is gone with the holder of sem_rw");
    }
    first.leave();
    second.leave();
}

void living_holder() {
    constexpr milliseconds work = 3s;
    Member member;
    member.wait_until_attached();
    // As where nobody has a time-stamp thread: too old within the holder's time.
    member.pause();
    const auto start = Clock::now();
    const Process holder = start_holder(&CNuv_shm_manager::sema_rw, work);
    age_heartbeat(tolerance.count() - 1);
    Member newcomer("who waits for a living holder");
    newcomer.wait_until_attached();
    const unsigned int answer = newcomer.board->answer;
    if (answer != NUV_NOERROR || Clock::now() - start < work) {
        fail("sem_rw was taken from a living holder, the newcomer is answered 0x%x", answer);
    }
    newcomer.leave();
}

/// A thread of the same manager has both for longer than the tolerance, and lives.
void holder_in_the_same_manager() {
    const auto manager = make_manager();
    manager->Initialize();
    manager->sema_update->wait();
    manager->sema_rw->wait();
    std::atomic<bool> robbed{false};
    std::thread heartbeat([&] {
        manager->update_time_stamp();
        robbed = true;
    });
    std::thread scan([&] {
        manager->sema_update->wait();
        robbed = true;
        manager->sema_update->post();
    });
    std::this_thread::sleep_for(tolerance + 2s);
    const bool robbed_while_held = robbed;
    manager->sema_rw->post();
    manager->sema_update->post();
    heartbeat.join();
    scan.join();
    if (robbed_while_held || sem_rw_value() != 1 || sem_update_value() != 1) {
        fail("a thread was robbed by another of its manager; sem_rw is %d, sem_update is %d",
             sem_rw_value(), sem_update_value());
    }
}

}  // namespace

void run_lost_sem_rw(int rounds) {
    constexpr void (*cases[])() = {newcomers_that_give_up, those_already_waiting, living_holder,
                                   holder_in_the_same_manager};
    constexpr int kinds = static_cast<int>(std::size(cases));
    run_in_lanes(kinds, kinds * rounds, [&](int number) {
        cases[number % kinds]();
        ++tally().cases;
    });
}

}  // namespace robustness
