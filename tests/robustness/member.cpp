#include "member.h"

#include "region_view.h"

#include <nuv/result.h>

#include <csignal>

namespace robustness {

void Member::wait_until(milliseconds at_most, const char* complaint,
                        const std::function<bool()>& condition) {
    wait_for(at_most, [&] { return condition() || board->refused || process.has_ended(); });
    if (condition()) {
        return;
    }
    if (board->refused) {
        fail("%s is refused with 0x%x", name, board->answer.load());
    }
    if (process.has_ended()) {
        fail("%s has ended with %d", name, process.wait());
    }
    fail("%s %s after %ld ms", name, complaint, static_cast<long>(at_most.count()));
}

void Member::wait_until_attached() {
    wait_until(attach_bound, "is not attached", [this] { return board->attached.load(); });
}

void Member::wait_for_beats() {
    const long goal = board->beats + 3;
    wait_until(attach_bound, "hangs while attached", [&] { return board->beats >= goal; });
}

void Member::pause() {
    board->asked_to_pause = true;
    wait_until(attach_bound, "hangs", [this] { return board->paused.load(); });
}

void Member::wait_until_stopped() {
    wait_until(attach_bound, "does not stop",
               [this] { return process.is_stopped() || process.has_ended(); });
}

void Member::leave() {
    constexpr milliseconds longest_shutdown = 10s;
    board->asked_to_leave = true;
    wait_until(longest_shutdown + machine_slack, "has not left",
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
    const Shared<std::atomic<bool>> holds;
    Process holder([&] {
        const auto manager = make_manager();
        manager->Initialize();
        (*manager.*semaphore)->wait();
        *holds = true;
        std::this_thread::sleep_for(how_long);
        (*manager.*semaphore)->post();
    });
    if (!wait_for(machine_slack, [&] { return holds->load(); })) {
        fail("the holder of a semaphore does not get it");
    }
    return holder;
}

}  // namespace robustness
