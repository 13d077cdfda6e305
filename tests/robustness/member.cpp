#include "member.h"

#include "region_view.h"

#include <nuv/result.h>

#include <csignal>

namespace robustness {

void Member::wait_until(milliseconds at_most, const char* complaint,
                        const std::function<bool()>& condition) {
    wait_for(at_most, [&] { return condition() || board->refused || process.has_ended(); });
    if (!condition()) {
        fail("%s %s within %ld ms; answered 0x%x, ended with %d", name, complaint,
             static_cast<long>(at_most.count()), board->answer.load(),
             process.has_ended() ? process.wait() : 0);
    }
}

void Member::wait_until_attached() {
    wait_until(attach_bound, "is not attached", [this] { return board->attached.load(); });
}

void Member::wait_for_beats() {
    const long goal = board->beats + 3;
    wait_until(attach_bound, "does not go on", [&] { return board->beats >= goal; });
}

void Member::pause() {
    board->asked_to_pause = true;
    wait_until(attach_bound, "does not pause", [this] { return board->paused.load(); });
}

void Member::wait_until_stopped() {
    wait_until(attach_bound, "does not stop",
               [this] { return process.is_stopped() || process.has_ended(); });
}

void Member::leave() {
    constexpr milliseconds longest_shutdown = 10s;
    board->asked_to_leave = true;
    wait_until(longest_shutdown + machine_slack, "does not leave",
               [this] { return board->left.load(); });
    // Only a process that hangs needs that long: the kernel ends one late on a loaded machine.
    wait_for(60s, [this] { return process.has_ended(); });
    if (process.kill_and_wait() != 0) {
        fail("%s has left, and ends with %d", name, process.wait());
    }
}

void see_region_gone(const std::string& after, long dead_and_counted) {
    if (!region_exists()) {
        return;
    }
    if (const int count = region_bytes().opencount; count < 1 || count > dead_and_counted) {
        fail("%s: all have left, %ld died, and the region is there with a count of %d",
             after.c_str(), dead_and_counted, count);
    }
    age_heartbeat();
    Member next("who comes after long silence");
    next.wait_until_attached();
    if (next.board->answer != NUV_DIFFTIME_OUT) {
        fail("who attaches to the stale region is answered 0x%x", next.board->answer.load());
    }
    next.leave();
    see_region_gone("a clear");
}

Process start_holder(std::unique_ptr<CNuv_sem_access> CNuv_shm_manager::*semaphore,
                     milliseconds how_long) {
    return nuv_test::ready_process([&](const nuv_test::Ready& is_ready) {
        const auto manager = make_manager();
        manager->Initialize();
        (*manager.*semaphore)->wait();
        is_ready();
        std::this_thread::sleep_for(how_long);
        (*manager.*semaphore)->post();
    });
}

}  // namespace robustness
