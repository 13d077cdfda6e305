// What standard output is connected to.
#pragma once

#include <cstddef>

namespace nuvctl {

bool is_terminal_output();
/// Nobody reads standard output any more.
bool is_output_closed();

struct Terminal_size {
    std::size_t columns = 80;
    std::size_t rows = 24;
};

/// Of the terminal that standard output is.
Terminal_size terminal_size();

/// Columns that a table may take up: the terminal's, at least 80; 0, as many as it needs, when
/// standard output is none.
std::size_t table_width();

}  // namespace nuvctl
