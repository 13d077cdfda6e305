#include "roles.h"

#include "counting_log.h"
#include "region_view.h"
#include "step_calls.h"

#include <nuv/bits.h>
#include <nuv/result.h>

namespace robustness {
namespace {

/// Whether the planned phase is over: only its first time counts.
bool is_over = false;

/// Counts steps for as long as it lives, if the plan is about this phase.
class Counted_phase {
public:
    Counted_phase(const Plan& plan, Plan::Phase phase, std::atomic<long>& result)
        : counts(plan.phase == phase && !is_over), steps(result) {
        if (!counts) {
            return;
        }
        is_over = true;
        if (plan.from_line.empty()) {
            act_before_step(plan.step, plan.action);
            return;
        }
        watch_lines([plan, armed = false](const std::string& line) mutable {
            if (!armed && line.find(plan.from_line) != std::string::npos) {
                armed = true;
                act_before_step(plan.step, plan.action);
            }
        });
    }
    Counted_phase(const Counted_phase&) = delete;
    Counted_phase& operator=(const Counted_phase&) = delete;
    ~Counted_phase() {
        if (counts) {
            steps = stop_counting_steps();
        }
    }

private:
    bool counts;
    std::atomic<long>& steps;
};

}  // namespace

std::unique_ptr<CNuv_shm_manager> make_manager() {
    static CNuv_Log* const log = make_log().release();
    auto manager =
        std::make_unique<CNuv_shm_manager>(log, NUV_BIT_LOG_SHM_MANAGER | NUV_BIT_LOG_SEM_ACCESS);
    manager->set_difftime(tolerance.count());
    return manager;
}

bool is_success(unsigned int result) {
    return result == NUV_NOERROR || result == NUV_DIFFTIME_OUT;
}

int Member::live(Board& board, const Plan& plan) {
    const auto manager = make_manager();
    const auto start = Clock::now();
    {
        const Counted_phase counted(plan, Plan::Phase::attach, board.steps);
        board.answer = manager->Initialize();
    }
    while (!is_success(board.answer) && board.retries + 1 < plan.attempts) {
        ++board.retries;
        board.answer = manager->Initialize();
    }
    if (!is_success(board.answer)) {
        board.refused = true;
        return 0;
    }
    board.inode = inode_of(manager->m_hMem);
    board.attach_ms = std::chrono::duration_cast<milliseconds>(Clock::now() - start).count();
    board.attached = true;
    while (!board.leave) {
        if (!is_the_named_region(manager->m_hMem)) {
            fail("attached to a region without the name");
        }
        board.paused = board.pause.load();
        if (!board.paused) {
            const Counted_phase counted(plan, Plan::Phase::heartbeat, board.steps);
            manager->update_time_stamp();
        }
        if (!board.paused && plan.uses_update) {
            const Counted_phase counted(plan, Plan::Phase::update, board.steps);
            manager->sema_update->wait();
            manager->sema_update->post();
        }
        ++board.heartbeats;
        std::this_thread::sleep_for(milliseconds(5));
    }
    board.attached = false;
    {
        const Counted_phase counted(plan, Plan::Phase::leave, board.steps);
        manager->close_shm();
    }
    board.left = true;
    return 0;
}

Member::Member(Plan plan)
    : process([] { return 0; }), shared(std::make_unique<Shared<Board>>()), board(&**shared) {
    process = Process([this, plan] { return live(*board, plan); });
}

void Member::wait_until(milliseconds at_most, const char* who, const char* what,
                        const std::atomic<bool>& flag) {
    const bool came = wait_for(
        at_most, [&] { return flag || board->refused || process.look() == Process::State::ended; });
    if (flag) {
        return;
    }
    if (board->refused) {
        fail("%s is refused with 0x%x", who, answer());
    }
    if (came) {
        fail("%s has ended with %d", who, process.result());
    }
    fail("%s %s after %ld ms", who, what, static_cast<long>(at_most.count()));
}

void Member::wait_until_attached(milliseconds at_most, const char* who) {
    wait_until(at_most, who, "is not attached", board->attached);
}

void Member::wait_for_heartbeats(int count, const char* who) {
    const long goal = board->heartbeats + count + 1;
    const bool came = wait_for(attach_bound + machine_slack, [&] {
        return board->heartbeats >= goal || process.look() == Process::State::ended;
    });
    if (!came || process.look() == Process::State::ended) {
        fail("%s %s (%d)", who, came ? "has ended" : "hangs while attached", process.result());
    }
}

void Member::pause(const char* who) {
    board->pause = true;
    wait_until(attach_bound + machine_slack, who, "hangs", board->paused);
}

void Member::wait_until_left(const char* who) {
    constexpr milliseconds own_deadline = tolerance + std::chrono::seconds(5);
    ask_to_leave();
    wait_until(own_deadline + machine_slack, who, "has not left", board->left);
    // Only a process that hangs needs that long: the kernel ends one late on a loaded machine.
    if (!process.wait_until_ended(std::chrono::seconds(60))) {
        fail("%s has left, and does not end", who);
    }
    if (process.result() != 0) {
        fail("%s has ended with %d", who, process.result());
    }
}

}  // namespace robustness
