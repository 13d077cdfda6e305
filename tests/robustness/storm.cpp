// The storm: workers attach, scan, open, close and detach at random, and are killed and stopped.
#include "region_view.h"
#include "roles.h"
#include "runs.h"
#include "storm_worker.h"
#include "support/private_world.h"

#include <nuv/result.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <optional>
#include <random>

namespace robustness {
namespace {

using namespace std::chrono_literals;

constexpr int workers = 12;
constexpr int with_cameras = 4;  ///< of them

void configure() {
    nuv_test::write_ini("nuv_devicemgr",
                        "[INTERFACES]\nUSB=0\nME4=0\nCLHS_SISO=0\nCLHS_KAYA=0\n"
                        "[OPTIONS]\nScantime=40\n[LOG]\nLevel=1\n");
    nuv_test::write_ini("nuv_cameras",
                        "[one]\ninterface=USB3\nserial=1\nopen_delay_ms=2\n"
                        "[two]\ninterface=USB3\nserial=2\n[three]\ninterface=GIGE\nserial=3\n"
                        "[backend USB3]\nscan_delay_ms=2\n");
}

class Storm {
public:
    explicit Storm(unsigned int seed) : random(seed) {
        for (int number = 0; number < workers; ++number) {
            start(number);
        }
    }

    /// Deaths and stops, or stops alone.
    void rage(std::chrono::seconds how_long, bool kills) {
        const auto end = Clock::now() + how_long;
        auto next_kill = Clock::now();
        auto next_stop = Clock::now();
        auto next_end_of_all = Clock::now() + 3s;
        while (Clock::now() < end) {
            std::this_thread::sleep_for(milliseconds(2));
            look_after_all();
            if (kills && Clock::now() >= next_kill) {
                next_kill = Clock::now() + milliseconds(roll(400));
                kill(roll(19) == 0 ? holder_of_sem_rw() : roll(workers - 1));
            }
            if (Clock::now() >= next_stop) {
                next_stop = Clock::now() + milliseconds(roll(300));
                stop(roll(workers - 1));
            }
            if (kills && Clock::now() >= next_end_of_all) {
                next_end_of_all = Clock::now() + 3s + milliseconds(roll(4000));
                roll(1) == 0 ? end_all_at_once() : let_all_go_stale();
            }
        }
        continue_all();
    }

    /// All leave normally. \return whether the name is gone
    bool end() {
        board->quit = true;
        const bool all_ended = wait_for(60s, [this] {
            look_after_all();
            return std::all_of(processes.begin(), processes.end(), [](auto& process) {
                return process->look() == Process::State::ended;
            });
        });
        if (!all_ended) {
            fail("storm: not all leave");
        }
        return !region_exists();
    }

    const Storm_board& seen() const { return *board; }
    int kills() const { return killed; }
    int stops() const { return stopped; }
    int clears_beside_stopped() const { return cleared_beside_stopped; }

private:
    struct Stop {
        bool active = false;
        Clock::time_point until;
    };

    int roll(int most) { return std::uniform_int_distribution<int>(0, most)(random); }

    Worker_slot& slot(int number) { return board->workers[number]; }
    Process& process(int number) { return *processes[static_cast<std::size_t>(number)]; }
    Stop& stop_of(int number) { return stops_now[static_cast<std::size_t>(number)]; }

    void start(int number) {
        Worker_slot& self = slot(number);
        self.inode = 0;
        self.in_list = false;
        self.lingers = false;
        self.parked = false;
        self.stopped = false;
        self.doomed = false;
        const auto seed = static_cast<unsigned int>(random());
        auto& place = processes[static_cast<std::size_t>(number)];
        place.reset();
        place.emplace([this, &self, number, seed] {
            return number < with_cameras ? work_with_cameras(*board, self, seed)
                                         : work_with_registry(*board, self, seed);
        });
        self.pid = process(number).pid();
        stop_of(number).active = false;
        progress_at[static_cast<std::size_t>(number)] = Clock::now();
    }

    /// One that changes the list and so holds `sem_rw`, if one comes by.
    int holder_of_sem_rw() {
        board->holder_wanted = true;
        int holder = 0;
        wait_for(milliseconds(200), [&] {
            Worker_slot* const end = std::begin(board->workers) + workers;
            const Worker_slot* const found =
                std::find_if(std::begin(board->workers), end,
                             [](const Worker_slot& worker) { return worker.lingers.load(); });
            holder = static_cast<int>(found - std::begin(board->workers)) % workers;
            return found != end;
        });
        return holder;
    }

    void kill(int number) {
        slot(number).doomed = true;
        process(number).kill();
        if (process(number).result() != -SIGKILL) {
            complain(number);
        }
        ++killed;
        start(number);
    }

    /// Mostly for a moment, sometimes for longer than the tolerance.
    void stop(int number) {
        if (stop_of(number).active) {
            return;
        }
        const bool for_long = roll(60) == 0;
        stop_for(number, for_long ? milliseconds(6000) : milliseconds(roll(200)));
    }

    void stop_for(int number, milliseconds how_long) {
        stop_of(number) = {true, Clock::now() + how_long};
        slot(number).stopped = true;
        process(number).signal(SIGSTOP);
        ++stopped;
    }

    void go_on(int number) {
        process(number).signal(SIGCONT);
        stop_of(number).active = false;
        slot(number).stopped = false;
        progress_at[static_cast<std::size_t>(number)] = Clock::now();
    }

    void continue_all() {
        for (int number = 0; number < workers; ++number) {
            if (stop_of(number).active) {
                go_on(number);
            }
        }
    }

    void look_after_all() {
        constexpr auto longest = 40s;
        for (int number = 0; number < workers; ++number) {
            const auto index = static_cast<std::size_t>(number);
            if (process(number).look() == Process::State::ended) {
                if (!board->quit || process(number).result() != 0) {
                    complain(number);
                }
                continue;
            }
            if (stop_of(number).active && Clock::now() >= stop_of(number).until) {
                go_on(number);
            }
            if (const long progress = slot(number).progress; progress != progress_seen[index]) {
                progress_seen[index] = progress;
                progress_at[index] = Clock::now();
            }
            if (!stop_of(number).active && !slot(number).parked &&
                Clock::now() - progress_at[index] > longest) {
                fail("storm: a worker that %s hangs", slot(number).doing.load());
            }
        }
    }

    [[noreturn]] void complain(int number) {
        fail("storm: a worker that %s has ended with %d", slot(number).doing.load(),
             process(number).result());
    }

    /// Nobody survives, and long silence follows.
    void end_all_at_once() {
        for (int number = 0; number < workers; ++number) {
            slot(number).doomed = true;
            process(number).signal(SIGKILL);
        }
        for (int number = 0; number < workers; ++number) {
            process(number).kill();
            ++killed;
        }
        make_stale();
        for (int number = 0; number < workers; ++number) {
            start(number);
        }
    }

    /// All are idle, and stopped for so long that a newcomer clears the registry under them.
    void let_all_go_stale() {
        continue_all();
        board->park = true;
        const bool all_parked = wait_for(5s, [this] {
            look_after_all();
            return std::all_of(std::begin(board->workers), std::begin(board->workers) + workers,
                               [](const Worker_slot& worker) { return worker.parked.load(); });
        });
        if (all_parked) {
            for (int number = 0; number < workers; ++number) {
                stop_for(number, 1h);
            }
            clear_beside_stopped();
            continue_all();
        }
        board->park = false;
    }

    /// Not while a background thread has `sem_rw`: it would be robbed.
    void clear_beside_stopped() {
        std::this_thread::sleep_for(milliseconds(5));
        if (sem_rw_value() != 1) {
            return;
        }
        make_stale();
        Process newcomer([this] {
            count_from_log(*board);
            const auto manager = make_manager();
            return is_success(manager->Initialize()) ? 0 : 1;
        });
        if (!newcomer.wait_until_ended(2 * attach_bound + 5s)) {
            fail("storm: a newcomer hangs beside idle members");
        }
        ++cleared_beside_stopped;
    }

    Shared<Storm_board> board;
    std::array<std::optional<Process>, workers> processes;
    std::array<Stop, workers> stops_now;
    std::array<long, workers> progress_seen{};
    std::array<Clock::time_point, workers> progress_at;
    std::mt19937 random;
    int killed = 0;
    int stopped = 0;
    int cleared_beside_stopped = 0;
};

void report(const char* part, const Storm& storm) {
    const Storm_board& seen = storm.seen();
    std::printf(
        "%s: %ld attaches (%ld device managers), %d kills, %d stops, %ld clears "
        "(%d beside stopped members), "
        "%ld sem_rw and %ld sem_update freed, %ld refused, %ld ids (%ld unsure), "
        "%ld opens, %ld scans\n",
        part, seen.attaches.load(), seen.managers.load(), storm.kills(), storm.stops(),
        seen.clears.load(), storm.clears_beside_stopped(), seen.freed_rw.load(),
        seen.freed_update.load(), seen.refused.load(), seen.ids.load(), seen.unsure_ids.load(),
        seen.opens.load(), seen.scans.load());
}

/// What the dead have left in the counts goes with the next clear.
void see_that_nothing_stays() {
    make_stale();
    Member last;
    last.wait_until_attached(attach_bound + machine_slack, "who comes after the storm");
    last.wait_until_left("who comes after the storm");
    if (region_exists()) {
        fail("storm: the name is still there with a count of %d", region_opencount());
    }
}

}  // namespace

bool run_storm(int seconds) {
    constexpr int in_a_test = 10;
    const std::chrono::seconds length(seconds > 0 ? seconds : in_a_test);
    configure();
    const unsigned int seed = std::random_device{}();
    Storm storm(seed);
    storm.rage(length, true);
    storm.end();
    report("storm", storm);
    see_that_nothing_stays();

    Storm without_deaths(seed + 1);
    without_deaths.rage(length / 4, false);
    const bool gone = without_deaths.end();
    report("storm without deaths", without_deaths);
    if (!gone) {
        fail("storm: all have left normally, and the name is there with a count of %d",
             region_opencount());
    }
    return true;
}

}  // namespace robustness
