// Several processes looking up at the same time.
#include "round.h"
#include "team.h"

#include <algorithm>
#include <numeric>

namespace nuv_bench {
namespace {

using namespace std::chrono_literals;

double sum(const std::vector<double>& rates) {
    return std::accumulate(rates.begin(), rates.end(), 0.0);
}

Comparison throughput(int processes) {
    const auto team = std::make_shared<Team>(processes);
    return {[team] { return sum(team->work(Team::Task::library, 50ms)); },
            [team] { return sum(team->work(Team::Task::floor, 50ms)); }};
}

/// Two figures of one and the same round, whichever is asked for first.
class Fairness {
public:
    explicit Fairness(int processes) : team(processes) {}

    double slowest() {
        look();
        return *std::min_element(rates.begin(), rates.end());
    }
    double quickest() {
        look();
        return *std::max_element(rates.begin(), rates.end());
    }

private:
    void look() {
        seen_once = !seen_once;
        if (seen_once) {
            rates = team.work(Team::Task::library, 200ms);
        }
    }

    Team team;
    std::vector<double> rates;
    bool seen_once = false;
};

Comparison fairness(int processes) {
    const auto shares = std::make_shared<Fairness>(processes);
    return {[shares] { return shares->slowest(); }, [shares] { return shares->quickest(); }};
}

Row throughput_row(int processes, double goal) {
    Row row{std::to_string(processes) + " processes look up", "semaphore, scan, copy", goal,
            [processes] { return throughput(processes); }};
    row.rounds = 31;
    row.unit = Unit::per_second;
    row.at_least = true;
    return row;
}

Row fairness_row(int processes) {
    Row row{"slowest of " + std::to_string(processes) + " processes", "the quickest", 0.4,
            [processes] { return fairness(processes); }};
    row.rounds = 15;
    row.unit = Unit::per_second;
    row.at_least = true;
    return row;
}

}  // namespace

Rows process_rows() {
    return {throughput_row(2, 1.4), throughput_row(4, 1.3), throughput_row(8, 1.0),
            fairness_row(2),        fairness_row(4),        fairness_row(8)};
}

}  // namespace nuv_bench
