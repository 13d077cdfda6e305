// A fork at any step: the child keeps none of its parent's locks alive.
#include "region_view.h"
#include "roles.h"
#include "runs.h"
#include "step_calls.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace robustness {
namespace {

struct Board {
    std::atomic<pid_t> child{0};
    std::atomic<bool> child_runs{false};
    std::atomic<bool> asked{false};
    std::atomic<long> steps{0};
    std::atomic<int> placed{0};
};

/// Forks when it is asked to, as a thread of its own: what the other thread is doing at that moment
/// goes on in the parent only.
void fork_when_asked(Board& board) {
    while (!board.asked) {
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
    const pid_t child = fork();
    if (child == 0) {
        board.child_runs = true;
        sleep(60);  // not for ever, should the test end before it
        _exit(0);
    }
    board.child = child;
}

/// Before its n-th step the process is forked and then killed. Where the library does not let a
/// fork come between two steps, it is forked between later ones.
void die_after_fork(Board& board, Phase phase, long step) {
    std::thread forker([&board] { fork_when_asked(board); });
    const auto manager = make_manager();
    const auto ask = [&board] {
        board.asked = true;
        wait_for(10ms, [&board] { return board.child != 0; });
        if (board.child != 0) {
            ++board.placed;
            raise(SIGKILL);
        }
    };
    if (phase == Phase::attach) {
        act_before_step(step, ask);
    }
    manager->Initialize();
    if (phase == Phase::leave) {
        act_before_step(step, ask);
        manager->close_shm();
    }
    board.steps = stop_counting_steps();
    board.asked = true;
    wait_for(machine_slack, [&board] { return board.child != 0; });
    raise(SIGKILL);
}

struct Tally {
    std::atomic<int> cases{0};
    std::atomic<int> placed{0};
};

/// \return whether there was such a step
bool play_case(Phase phase, long step, bool alone, Tally& tally) {
    std::remove(region_file);
    if (!alone) {
        Member dying("a neighbour");
        dying.wait_until_attached();
    }
    const Shared<Board> board;
    Process parent([&] { die_after_fork(*board, phase, step); });
    // It may have to wait for what the neighbour held when it died.
    wait_for(attach_bound + machine_slack, [&] { return parent.has_ended(); });
    // Before the child runs it has copies of everything, whatever the library does.
    wait_for(machine_slack, [&board] { return board->child_runs.load(); });
    const pid_t child = board->child;
    if (!parent.has_ended() || parent.wait() != -SIGKILL || child <= 0 || !board->child_runs) {
        fail("forks: the parent was to die, and the child to live");
    }
    age_heartbeat();
    Member newcomer("forks: a newcomer beside a dead one's child");
    newcomer.wait_until_attached(machine_slack);
    newcomer.leave();
    const bool left_behind = region_exists();
    kill(child, SIGKILL);
    if (left_behind) {
        fail("forks: a dead one's child, forked before step %ld, keeps the region", step);
    }
    tally.placed += board->placed;
    return board->steps == 0 || board->steps >= step;
}

}  // namespace

bool run_forks(int rounds) {
    const Shared<Tally> tally;
    constexpr int kinds = 4;
    const bool well = run_in_lanes(4, kinds * rounds, [&](int number) {
        const auto phase = number % 2 == 0 ? Phase::attach : Phase::leave;
        const bool alone = number / 2 % 2 == 0;
        for (long step = 1; play_case(phase, step, alone, *tally); ++step) {
            ++tally->cases;
        }
    });
    std::printf("forks: %d steps, %d of them with the fork right there\n", tally->cases.load(),
                tally->placed.load());
    return well && tally->placed > tally->cases / 2;
}

}  // namespace robustness
