#include "table.h"

#include "figures.h"

#include <algorithm>
#include <cstdio>

namespace nuv_bench {

void print_table(const std::vector<Measured>& results) {
    int operation_width = 0;
    int yardstick_width = 0;
    for (const Measured& result : results) {
        operation_width = std::max(operation_width, static_cast<int>(result.row->operation.size()));
        yardstick_width = std::max(yardstick_width, static_cast<int>(result.row->yardstick.size()));
    }
    std::printf("\n%-*s  %-*s  %9s  %9s  %6s  %-13s  %7s\n", operation_width, "operation",
                yardstick_width, "yardstick", "library", "yardstick", "ratio", "half within",
                "goal");
    int met = 0;
    int goals = 0;
    for (const Measured& result : results) {
        const Row& row = *result.row;
        std::printf("%-*s  %-*s  %9s  %9s  %6.3f  %.3f..%.3f", operation_width,
                    row.operation.c_str(), yardstick_width, row.yardstick.c_str(),
                    figure(result.library, row.unit).c_str(),
                    figure(result.yardstick, row.unit).c_str(), result.ratio, result.lower_quartile,
                    result.upper_quartile);
        if (row.goal != 0) {
            std::printf("  %s %5.3g  %s", row.at_least ? ">=" : "<=", row.goal,
                        result.met() ? "met" : "NOT MET");
            met += result.met() ? 1 : 0;
            ++goals;
        }
        std::printf("\n");
    }
    std::printf("\n%d of %d goals met\n", met, goals);
}

}  // namespace nuv_bench
