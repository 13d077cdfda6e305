// A fork at any step: the child keeps none of its parent's locks alive.
#include "region_view.h"
#include "roles.h"
#include "runs.h"
#include "step_calls.h"
#include "worlds.h"

#include <nuv/result.h>

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <vector>

namespace robustness {
namespace {

struct Board {
    std::atomic<pid_t> child{0};
    std::atomic<bool> asked{false};
    std::atomic<bool> done{false};
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
        for (;;) {
            pause();
        }
    }
    board.child = child;
}

/// Before its n-th step the process is forked and then killed. Where the library does not let a
/// fork come between two steps, it is forked between later ones.
int die_after_fork(Board& board, Plan::Phase phase, long step) {
    std::thread forker([&board] { fork_when_asked(board); });
    const auto manager = make_manager();
    const auto ask = [&board] {
        board.asked = true;
        wait_for(milliseconds(10), [&board] { return board.child != 0; });
        if (board.child != 0) {
            ++board.placed;
            raise(SIGKILL);
        }
    };
    if (phase == Plan::Phase::attach) {
        act_before_step(step, ask);
    }
    manager->Initialize();
    if (phase == Plan::Phase::leave) {
        act_before_step(step, ask);
        manager->close_shm();
    }
    board.steps = stop_counting_steps();
    board.asked = true;
    wait_for(machine_slack, [&board] { return board.child != 0; });
    raise(SIGKILL);
    return 0;
}

/// \return whether there was such a step
bool play_case(Plan::Phase phase, long step, bool alone, int& placed) {
    remove_region_file();
    std::vector<Member> neighbours;
    if (!alone) {
        neighbours.emplace_back();
        neighbours.back().wait_until_attached(attach_bound, "a neighbour");
        neighbours.back().process.kill();
    }
    const Shared<Board> board;
    Process parent([&] { return die_after_fork(*board, phase, step); });
    parent.wait_until_ended(attach_bound);
    const pid_t child = board->child;
    if (!parent.was_killed() || child <= 0 || ::kill(child, 0) != 0) {
        fail("forks: the parent was to die, and the child to live");
    }
    make_stale();
    Member newcomer;
    newcomer.wait_until_attached(machine_slack, "forks: a newcomer beside a dead one's child");
    newcomer.wait_until_left("forks: the newcomer");
    const bool left_behind = region_exists();
    ::kill(child, SIGKILL);
    if (left_behind) {
        fail("forks: a dead one's child, forked before step %ld, keeps the region", step);
    }
    placed += board->placed;
    return board->steps == 0 || board->steps >= step;
}

struct Tally {
    std::atomic<int> cases{0};
    std::atomic<int> placed{0};
};

}  // namespace

bool run_forks(int rounds) {
    const Shared<Tally> tally;
    constexpr int kinds = 4;
    const bool well = run_in_lanes(4, kinds * (rounds > 0 ? rounds : 1), [&](int number) {
        const auto phase = number % 2 == 0 ? Plan::Phase::attach : Plan::Phase::leave;
        const bool alone = number / 2 % 2 == 0;
        int placed = 0;
        for (long step = 1; play_case(phase, step, alone, placed); ++step) {
            ++tally->cases;
        }
        tally->placed += placed;
    });
    std::printf("forks: %d steps, %d of them with the fork right there\n", tally->cases.load(),
                tally->placed.load());
    return well && tally->placed > tally->cases / 2;
}

}  // namespace robustness
