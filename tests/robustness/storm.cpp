// The storm: workers attach, scan, open, close and detach at random, and are killed and stopped.
#include "storm.h"

#include "region_view.h"
#include "roles.h"
#include "runs.h"
#include "support/private_world.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <optional>
#include <random>
#include <vector>

namespace robustness {
namespace {

constexpr std::size_t with_cameras = 4;  ///< of the workers

void configure() {
    nuv_test::write_ini("nuv_devicemgr",
                        "[INTERFACES]\nUSB=0\nME4=0\nCLHS_SISO=0\nCLHS_KAYA=0\n"
                        "[OPTIONS]\nScantime=40\n[LOG]\nLevel=1\n");
    nuv_test::write_ini("nuv_cameras",
                        "[one]\ninterface=USB3\nserial=1\nopen_delay_ms=2\n"
                        "[two]\ninterface=USB3\nserial=2\n[three]\ninterface=GIGE\nserial=3\n"
                        "[backend USB3]\nscan_delay_ms=2\n");
}

/// A worker as the driver sees it.
struct Driven {
    Worker_slot& slot;
    bool has_cameras;
    std::optional<Process> process{};
    std::optional<Clock::time_point> stopped_until{};
    long progress = 0;
    Clock::time_point progress_at{};
};

class Storm {
public:
    explicit Storm(unsigned int seed) : random(seed) {
        for (Worker_slot& slot : board->workers) {
            all.push_back({slot, all.size() < with_cameras});
            start(all.back());
        }
    }

    /// Deaths and stops, or stops alone.
    void rage(std::chrono::seconds how_long, bool kills) {
        const auto end = Clock::now() + how_long;
        auto next_kill = Clock::now();
        auto next_stop = Clock::now();
        auto next_end_of_all = Clock::now() + 3s;
        while (Clock::now() < end) {
            std::this_thread::sleep_for(2ms);
            look_after_all();
            if (kills && Clock::now() >= next_kill) {
                next_kill = Clock::now() + milliseconds(roll(400));
                kill(roll(19) == 0 ? holder_of_sem_rw() : any());
            }
            if (Clock::now() >= next_stop) {
                next_stop = Clock::now() + milliseconds(roll(300));
                // Mostly for a moment, sometimes for longer than the tolerance.
                stop(any(), milliseconds(roll(60) == 0 ? 6000 : roll(200)));
            }
            if (kills && Clock::now() >= next_end_of_all) {
                next_end_of_all = Clock::now() + 3s + milliseconds(roll(4000));
                roll(1) == 0 ? end_all_at_once() : let_all_go_stale();
            }
        }
        continue_all();
    }

    /// All leave normally.
    void end() {
        board->quit = true;
        const bool all_ended = wait_for(60s, [this] {
            look_after_all();
            return std::all_of(all.begin(), all.end(),
                               [](Driven& worker) { return worker.process->has_ended(); });
        });
        if (!all_ended) {
            fail("storm: not all leave");
        }
    }

    void report(const char* part) const {
        std::printf(
            "%s: %ld attaches (%ld device managers), %d kills, %d stops, %ld clears "
            "(%d beside stopped members), "
            "%ld sem_rw and %ld sem_update freed, %ld refused, %ld ids (%ld unsure), "
            "%ld opens, %ld scans\n",
            part, board->attaches.load(), board->managers.load(), killed, stopped,
            board->clears.load(), clears_beside_stopped, board->freed_rw.load(),
            board->freed_update.load(), board->refused.load(), board->ids.load(),
            board->unsure_ids.load(), board->opens.load(), board->scans.load());
    }

private:
    int roll(int most) { return std::uniform_int_distribution<int>(0, most)(random); }
    Driven& any() { return all[static_cast<std::size_t>(roll(static_cast<int>(all.size()) - 1))]; }

    void start(Driven& worker) {
        worker.process.reset();
        new (&worker.slot) Worker_slot;
        const auto seed = static_cast<unsigned int>(random());
        worker.process.emplace([&] { work(*board, worker.slot, seed, worker.has_cameras); });
        worker.slot.pid = worker.process->pid();
        worker.stopped_until.reset();
        worker.progress_at = Clock::now();
    }

    /// One that changes the list and so holds `sem_rw`, if one comes by.
    Driven& holder_of_sem_rw() {
        board->holder_wanted = true;
        auto holder = all.begin();
        const bool found = wait_for(200ms, [&] {
            holder = std::find_if(all.begin(), all.end(),
                                  [](const Driven& worker) { return worker.slot.lingers.load(); });
            return holder != all.end();
        });
        return found ? *holder : all.front();
    }

    void kill(Driven& worker) {
        worker.slot.doomed = true;
        if (worker.process->kill_and_wait() != -SIGKILL) {
            complain(worker);
        }
        ++killed;
        start(worker);
    }

    void stop(Driven& worker, milliseconds how_long) {
        if (!worker.stopped_until) {
            worker.stopped_until = Clock::now() + how_long;
            worker.slot.stopped = true;
            worker.process->signal(SIGSTOP);
            ++stopped;
        }
    }

    static void go_on(Driven& worker) {
        worker.process->signal(SIGCONT);
        worker.stopped_until.reset();
        worker.slot.stopped = false;
        worker.progress_at = Clock::now();
    }

    void continue_all() {
        for (Driven& worker : all) {
            if (worker.stopped_until) {
                go_on(worker);
            }
        }
    }

    void look_after_all() {
        for (Driven& worker : all) {
            if (!worker.process->has_ended()) {
                look_after(worker);
            } else if (!board->quit || worker.process->wait() != 0) {
                complain(worker);
            }
        }
    }

    static void look_after(Driven& worker) {
        constexpr auto longest = 40s;
        if (worker.stopped_until && Clock::now() >= *worker.stopped_until) {
            go_on(worker);
        }
        if (const long progress = worker.slot.progress; progress != worker.progress) {
            worker.progress = progress;
            worker.progress_at = Clock::now();
        }
        if (!worker.stopped_until && !worker.slot.parked &&
            Clock::now() - worker.progress_at > longest) {
            fail("storm: a worker that %s hangs", worker.slot.doing.load());
        }
    }

    [[noreturn]] static void complain(Driven& worker) {
        fail("storm: a worker that %s has ended with %d", worker.slot.doing.load(),
             worker.process->wait());
    }

    /// Nobody survives, and long silence follows.
    void end_all_at_once() {
        for (Driven& worker : all) {
            worker.slot.doomed = true;
            worker.process->signal(SIGKILL);
        }
        for (Driven& worker : all) {
            worker.process->wait();
            ++killed;
        }
        age_heartbeat();
        for (Driven& worker : all) {
            start(worker);
        }
    }

    /// All are idle, and stopped for so long that a newcomer clears the registry under them.
    void let_all_go_stale() {
        continue_all();
        board->park = true;
        const bool all_parked = wait_for(5s, [this] {
            look_after_all();
            return std::all_of(all.begin(), all.end(),
                               [](const Driven& worker) { return worker.slot.parked.load(); });
        });
        if (all_parked) {
            for (Driven& worker : all) {
                stop(worker, 1h);
            }
            clear_beside_stopped();
            continue_all();
        }
        board->park = false;
    }

    /// Not while a background thread has `sem_rw`: it would be robbed.
    void clear_beside_stopped() {
        std::this_thread::sleep_for(5ms);
        if (sem_rw_value() != 1) {
            return;
        }
        age_heartbeat();
        Process newcomer([this] {
            count_from_log(*board);
            make_manager()->Initialize();
        });
        if (!wait_for(2 * attach_bound + 5s, [&] { return newcomer.has_ended(); })) {
            fail("storm: a newcomer hangs beside idle members");
        }
        ++clears_beside_stopped;
    }

    Shared<Storm_board> board;
    std::vector<Driven> all;
    std::mt19937 random;
    int killed = 0;
    int stopped = 0;
    int clears_beside_stopped = 0;
};

}  // namespace

bool run_storm(int seconds) {
    configure();
    const unsigned int seed = std::random_device{}();
    Storm storm(seed);
    storm.rage(std::chrono::seconds(seconds), true);
    storm.end();
    storm.report("storm");

    see_next_one_clear_and_remove();

    Storm without_deaths(seed + 1);
    without_deaths.rage(std::chrono::seconds(seconds) / 4, false);
    without_deaths.end();
    without_deaths.report("storm without deaths");
    see_region_gone("storm without deaths");
    return true;
}

}  // namespace robustness
