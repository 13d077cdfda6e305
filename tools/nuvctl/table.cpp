#include "table.h"

#include "safe_text.h"

#include <algorithm>
#include <iostream>
#include <numeric>

namespace nuvctl {
namespace {

std::vector<std::size_t> natural_widths(const Table& table, bool headings) {
    std::vector<std::size_t> widths;
    for (std::size_t column = 0; column < table.columns.size(); ++column) {
        std::size_t width = headings ? table.columns[column].title.size() : 0;
        for (const std::vector<Cell>& row : table.rows) {
            width = std::max(width, display_width(row[column].text));
        }
        widths.push_back(width);
    }
    return widths;
}

/// Takes what is too much from the widest of the columns that may give way, column by column.
void fit(std::vector<std::size_t>& widths, const std::vector<Column>& columns, std::size_t limit) {
    const std::size_t gaps = column_gap * (columns.size() - 1);
    while (std::accumulate(widths.begin(), widths.end(), gaps) > limit) {
        std::size_t widest = columns.size();
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const bool gives_way = columns[i].shrinks_to > 0 && widths[i] > columns[i].shrinks_to;
            if (gives_way && (widest == columns.size() || widths[i] > widths[widest])) {
                widest = i;
            }
        }
        if (widest == columns.size()) {
            return;
        }
        --widths[widest];
    }
}

std::string colored(const std::string& text, Color color, bool colors) {
    if (!colors || color == Color::none) {
        return text;
    }
    return "\x1b[" + std::to_string(static_cast<int>(color)) + "m" + text + "\x1b[0m";
}

std::string line_of(const std::vector<Cell>& row, const std::vector<Column>& columns,
                    const std::vector<std::size_t>& widths, bool colors) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
        const std::string text = shortened(row[i].text, widths[i]);
        const std::string padding(widths[i] - display_width(text), ' ');
        const bool last = i + 1 == row.size();
        line += (columns[i].right_aligned ? padding : "") + colored(text, row[i].color, colors) +
                (columns[i].right_aligned || last ? "" : padding) +
                (last ? "" : std::string(column_gap, ' '));
    }
    return line;
}

}  // namespace

std::vector<std::string> Table::lines(bool headings, bool colors, std::size_t width) const {
    std::vector<std::size_t> widths = natural_widths(*this, headings);
    if (width > 0) {
        fit(widths, columns, width);
    }
    std::vector<std::string> result;
    if (headings) {
        std::vector<Cell> titles;
        for (const Column& column : columns) {
            titles.push_back({column.title, Color::bold});
        }
        result.push_back(line_of(titles, columns, widths, colors));
    }
    for (const std::vector<Cell>& row : rows) {
        result.push_back(line_of(row, columns, widths, colors));
    }
    return result;
}

void Table::print(bool headings, bool colors, std::size_t width) const {
    for (const std::string& line : lines(headings, colors, width)) {
        std::cout << line << '\n';
    }
}

}  // namespace nuvctl
