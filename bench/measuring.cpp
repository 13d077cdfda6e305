#include "measuring.h"

#include <benchmark/benchmark.h>

#include <algorithm>

namespace nuv_bench {
namespace {

double quantile(std::vector<double> values, double share) {
    const auto index = static_cast<std::size_t>(share * static_cast<double>(values.size() - 1));
    const auto place = values.begin() + static_cast<std::ptrdiff_t>(index);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

/// Rounds alternate, and so does who begins: what disturbs the machine for longer than a round
/// disturbs both, and leaves their ratio alone.
void run_row(benchmark::State& state, const Row& row, std::vector<Measured>& results) {
    const Comparison comparison = row.prepare();
    comparison.yardstick();
    comparison.library();
    std::vector<double> library;
    std::vector<double> yardstick;
    std::vector<double> ratios;
    bool library_first = false;
    for ([[maybe_unused]] auto iteration : state) {
        library_first = !library_first;
        const double first = library_first ? comparison.library() : comparison.yardstick();
        const double second = library_first ? comparison.yardstick() : comparison.library();
        library.push_back(library_first ? first : second);
        yardstick.push_back(library_first ? second : first);
        ratios.push_back(library.back() / yardstick.back());
        state.SetIterationTime(row.unit == Unit::seconds ? library.back() : 0);
    }
    const Measured result{&row,
                          quantile(library, 0.5),
                          quantile(yardstick, 0.5),
                          quantile(ratios, 0.5),
                          quantile(ratios, 0.25),
                          quantile(ratios, 0.75)};
    state.counters["ratio"] = result.ratio;
    state.counters["goal"] = row.goal;
    results.push_back(result);
}

}  // namespace

std::vector<Measured> measure(const Rows& rows, int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return {};
    }
    std::vector<Measured> results;
    for (const Row& row : rows) {
        const std::string name = row.operation + " / " + row.yardstick;
        benchmark::RegisterBenchmark(name.c_str(),
                                     [&](benchmark::State& state) { run_row(state, row, results); })
            ->Iterations(row.rounds)
            ->UseManualTime();
    }
    benchmark::RunSpecifiedBenchmarks();
    return results;
}

}  // namespace nuv_bench
