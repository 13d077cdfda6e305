// Measures an operation beside its yardstick.
#pragma once

#include "row.h"

namespace nuv_bench {

/// Medians over all rounds, and the quartiles between which half of the ratios lie.
struct Measured {
    const Row* row;
    double library;
    double yardstick;
    double ratio;
    double lower_quartile;
    double upper_quartile;

    bool met() const { return row->at_least ? ratio >= row->goal : ratio <= row->goal; }
};

/// Runs the rows that the command line selects, as Google Benchmark's options do.
/// \return nothing when the command line is not understood
std::vector<Measured> measure(const Rows& rows, int argc, char** argv);

}  // namespace nuv_bench
