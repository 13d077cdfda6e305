// A row of the table: an operation of the library, and what it is measured by.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace nuv_bench {

/// One short round of measuring. \return the figure: seconds for one operation, unless the row's
/// unit says otherwise
using Round = std::function<double()>;

struct Comparison {
    Round library;
    Round yardstick;
};

enum class Unit { seconds, per_second };

struct Row {
    std::string operation;
    std::string yardstick;
    double goal;  ///< of the library's figure over the yardstick's; 0: none
    std::function<Comparison()> prepare;
    int rounds = 401;
    Unit unit = Unit::seconds;
    bool at_least = false;  ///< the goal is the lowest ratio that will do, not the highest
};

using Rows = std::vector<Row>;

Rows lookup_rows();
Rows peer_rows();
Rows cold_rows();
Rows region_rows();
Rows attach_rows();
Rows log_rows();
Rows manager_rows();
Rows nuvctl_rows();
Rows process_rows();

}  // namespace nuv_bench
