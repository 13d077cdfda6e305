// An aligned table for people.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace nuvctl {

/// Terminal colours, as the numbers of their escape sequences.
enum class Color { none = 0, bold = 1, red = 31, green = 32, yellow = 33 };

struct Cell {
    std::string text;  ///< safe to print
    Color color = Color::none;
};

/// Columns of space between two columns of a table.
constexpr std::size_t column_gap = 2;

struct Column {
    std::string title;
    bool right_aligned = false;
    /// Columns that give way when the table is wider than the screen keep at least this; 0: never
    /// gives way.
    std::size_t shrinks_to = 0;
};

struct Table {
    std::vector<Column> columns;
    std::vector<std::vector<Cell>> rows;

    /// One for each row, without their ends. `width` 0: as wide as it needs.
    std::vector<std::string> lines(bool headings, bool colors, std::size_t width) const;
    void print(bool headings, bool colors, std::size_t width) const;
};

}  // namespace nuvctl
