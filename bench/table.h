#pragma once

#include "measuring.h"

namespace nuv_bench {

/// Prints what was measured, one line a row: both figures, their ratio, the goal.
void print_table(const std::vector<Measured>& results);

}  // namespace nuv_bench
