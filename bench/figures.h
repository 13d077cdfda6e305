// Figures as people read them.
#pragma once

#include "row.h"

#include <string>

namespace nuv_bench {

/// Three digits and a unit: "61.2 ns", "1.30 M/s".
std::string figure(double value, Unit unit);

}  // namespace nuv_bench
