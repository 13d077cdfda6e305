#include "screen.h"

#include "terminal.h"

#include <iostream>

namespace nuvctl {
namespace {

// Control sequences that every terminal in use understands.
constexpr char enter[] = "\x1b[?1049h\x1b[?25l\x1b[?7l";  // second screen, no cursor, no wrapping
constexpr char leave[] = "\x1b[?7h\x1b[?25h\x1b[?1049l";
constexpr char home[] = "\x1b[H";
constexpr char clear_line[] = "\x1b[K";
constexpr char clear_rest[] = "\x1b[J";

}  // namespace

Screen::Screen() {
    std::cout << enter << std::flush;
}

Screen::~Screen() {
    std::cout << leave << std::flush;
}

void Screen::draw(const std::vector<std::string>& lines) {
    const std::size_t rows = terminal_size().rows;
    std::string frame = home;
    for (std::size_t i = 0; i < lines.size() && i < rows; ++i) {
        frame += (i > 0 ? "\r\n" : "") + lines[i] + clear_line;
    }
    std::cout << frame << clear_rest << std::flush;
}

}  // namespace nuvctl
