// The storm: members attach, take ids, scan, open, close and leave at random, and are killed and
// stopped.
#include "member.h"
#include "region_view.h"
#include "runs.h"
#include "support/private_world.h"

#include <algorithm>
#include <csignal>
#include <optional>
#include <random>
#include <vector>

namespace robustness {
namespace {

constexpr int crowd = 16;
constexpr long managers_each = 3;  ///< at most: a device manager has one for each back-end
constexpr milliseconds long_stop = tolerance + 2s;

void configure() {
    nuv_test::write_ini("nuv_devicemgr",
                        "[INTERFACES]\nUSB=0\nME4=0\nCLHS_SISO=0\nCLHS_KAYA=0\n"
                        "[OPTIONS]\nScantime=40\n[LOG]\nLevel=1\n");
    nuv_test::write_ini("nuv_cameras",
                        "[one]\ninterface=USB3\nserial=1\nopen_delay_ms=2\n"
                        "[two]\ninterface=USB3\nserial=2\n[three]\ninterface=GIGE\nserial=3\n"
                        "[backend USB3]\nscan_delay_ms=2\n");
}

/// A member as the driver sees it.
struct Driven {
    Member member;
    Clock::time_point began = Clock::now();  ///< or went on after a stop
    std::optional<Clock::time_point> stopped_until{};
};

class Storm {
public:
    Storm() { start_all(); }

    /// Deaths and stops, or stops alone.
    void rage(std::chrono::seconds how_long, bool kills) {
        for (const auto end = Clock::now() + how_long; Clock::now() < end;) {
            std::this_thread::sleep_for(2ms);
            look_after_all();
            if (kills && roll(100) == 0) {
                kill(any());
            }
            if (roll(75) == 0) {
                stop(any(), roll(60) == 0 ? long_stop : milliseconds(roll(200)));
            }
            if (kills && roll(1000) == 0) {
                end_all_at_once();
            }
        }
        for (Driven& one : all) {
            go_on(one);
        }
        for (Driven& one : all) {
            one.member.leave();
        }
        tally().clears += ledger->clears;
        see_region_gone("storm", managers_each * killed);
    }

private:
    int roll(int most) { return std::uniform_int_distribution<int>(0, most)(random); }
    Driven& any() { return all[static_cast<std::size_t>(roll(crowd - 1))]; }

    /// All attach at the same moment: each is stopped before its first step, until all are.
    void start_all() {
        const Plan stops_first{Phase::attach, 1, SIGSTOP};
        while (all.size() < crowd) {
            all.push_back(start(stops_first));
        }
        for (Driven& one : all) {
            one.member.wait_until_stopped();
        }
        for (Driven& one : all) {
            go_on(one);
        }
    }

    Driven start(const Plan& plan = {}) {
        Habits habits;
        habits.ledger = ledger.get();
        habits.uses_update = true;
        habits.use = roll(15) == 0 ? Use::open_and_close : Use::heartbeat;
        habits.beats = 1 + roll(habits.use == Use::heartbeat ? 6 : 20);
        ++tally().cases;
        return {Member("a member in the storm", habits, plan)};
    }

    void kill(Driven& one) {
        one.member.process.kill_and_wait();
        ++killed;
        ++tally().hits;
        one = start();
    }

    /// Who is stopped for long while it holds `sem_rw` would be taken for dead.
    void stop(Driven& one, milliseconds how_long) {
        if (one.stopped_until) {
            return;
        }
        one.member.process.signal(SIGSTOP);
        one.member.wait_until_stopped();
        const bool may_hold = how_long >= tolerance / 2 && sem_rw_value() != 1;
        one.stopped_until = Clock::now() + (may_hold ? 0ms : how_long);
        ++tally().hits;
    }

    static void go_on(Driven& one) {
        one.member.process.signal(SIGCONT);
        one.stopped_until.reset();
        one.began = Clock::now();
    }

    void look_after_all() {
        constexpr auto longest_life = 60s;
        for (Driven& one : all) {
            if (one.member.process.has_ended()) {
                one.member.leave();
                one = start();
            } else if (one.stopped_until && Clock::now() >= *one.stopped_until) {
                go_on(one);
            } else if (!one.stopped_until && Clock::now() >= one.began + longest_life) {
                fail("storm: a member hangs");
            }
        }
    }

    /// Nobody survives, and long silence follows.
    void end_all_at_once() {
        killed += crowd;
        all.clear();
        age_heartbeat();
        start_all();
    }

    Shared<Ledger> ledger;
    std::mt19937 random{std::random_device{}()};
    std::vector<Driven> all;
    int killed = 0;
};

}  // namespace

void run_storm(int seconds) {
    configure();
    Storm().rage(std::chrono::seconds(seconds), true);
    Storm().rage(std::chrono::seconds(seconds) / 4, false);
}

}  // namespace robustness
