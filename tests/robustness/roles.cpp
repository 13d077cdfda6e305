#include "roles.h"

#include "region_view.h"
#include "step_calls.h"
#include "support/stand_in_log.h"

#include <nuv/bits.h>
#include <nuv/result.h>

#include <csignal>

namespace robustness {
namespace {

/// What a member does at its board. Only the first time counts that it comes to the planned phase.
class Life {
public:
    Life(Member::Board& its_board, const Plan& its_plan) : board(its_board), plan(its_plan) {}

    void live() {
        const auto start = Clock::now();
        while (!attach()) {
            if (board.retries + 1 >= plan.attempts) {
                board.refused = true;
                return;
            }
            ++board.retries;
        }
        board.inode = inode_of(manager->m_hMem);
        board.attach_ms = milliseconds_since(start);
        board.attached = true;
        while (!board.asked_to_leave) {
            if (inode_of(manager->m_hMem) != region_inode()) {
                fail("attached to a region without the name");
            }
            board.paused = board.asked_to_pause.load();
            if (!board.paused) {
                keep_alive();
            }
            ++board.heartbeats;
            std::this_thread::sleep_for(5ms);
        }
        board.attached = false;
        take_steps(Phase::leave, [this] { manager->close_shm(); });
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
            plan.step, [this] { raise(plan.signal); }, plan.from_line);
        steps();
        board.steps = stop_counting_steps();
    }

    bool attach() {
        take_steps(Phase::attach, [this] { board.answer = manager->Initialize(); });
        return is_success(board.answer);
    }

    void keep_alive() {
        take_steps(Phase::heartbeat, [this] { manager->update_time_stamp(); });
        if (plan.uses_update) {
            take_steps(Phase::update, [this] {
                manager->sema_update->wait();
                manager->sema_update->post();
            });
        }
    }

    Member::Board& board;
    Plan plan;
    const std::unique_ptr<CNuv_shm_manager> manager = make_manager();
};

}  // namespace

std::unique_ptr<CNuv_shm_manager> make_manager() {
    static CNuv_Log* const log = nuv_test::make_log().release();
    auto manager =
        std::make_unique<CNuv_shm_manager>(log, NUV_BIT_LOG_SHM_MANAGER | NUV_BIT_LOG_SEM_ACCESS);
    manager->set_difftime(tolerance.count());
    return manager;
}

bool is_success(unsigned int result) {
    return result == NUV_NOERROR || result == NUV_DIFFTIME_OUT;
}

Member::Member(const char* who, const Plan& plan)
    : process([&] { Life(*board, plan).live(); }), name(who) {}

void Member::wait_until(milliseconds at_most, const char* complaint,
                        const std::function<bool()>& condition) {
    const bool came =
        wait_for(at_most, [&] { return condition() || board->refused || process.has_ended(); });
    if (condition()) {
        return;
    }
    if (board->refused) {
        fail("%s is refused with 0x%x", name, board->answer.load());
    }
    if (came) {
        fail("%s has ended with %d", name, process.wait());
    }
    fail("%s %s after %ld ms", name, complaint, static_cast<long>(at_most.count()));
}

void Member::wait_until_attached(milliseconds at_most) {
    wait_until(at_most, "is not attached", [this] { return board->attached.load(); });
}

void Member::wait_for_heartbeats(int count) {
    const long goal = board->heartbeats + count + 1;
    wait_until(attach_bound + machine_slack, "hangs while attached",
               [&] { return board->heartbeats >= goal; });
}

void Member::pause() {
    board->asked_to_pause = true;
    wait_until(attach_bound + machine_slack, "hangs", [this] { return board->paused.load(); });
}

void Member::stop() {
    pause();
    process.signal(SIGSTOP);
    wait_for(machine_slack, [this] { return process.is_stopped(); });
}

void Member::leave() {
    constexpr milliseconds own_deadline = tolerance + 5s;
    board->asked_to_leave = true;
    wait_until(own_deadline + machine_slack, "has not left", [this] { return board->left.load(); });
    // Only a process that hangs needs that long: the kernel ends one late on a loaded machine.
    if (!ends_well(process, 60s)) {
        fail("%s has left, and %s", name, process.has_ended() ? "fails" : "does not end");
    }
}

void see_region_gone(const std::string& after) {
    if (region_exists()) {
        fail("%s: all have left, and the region is there with a count of %d", after.c_str(),
             region_bytes().opencount);
    }
}

void see_next_one_clear_and_remove() {
    if (!region_exists()) {
        return;
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
