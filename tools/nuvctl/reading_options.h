// What every verb that only looks understands.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace nuvctl {

struct Reading_options {
    bool json = false;
    bool no_headings = false;
    std::string color = "auto";
};

void add_reading_options(CLI::App& arguments, Reading_options& options);
/// That one alone.
void add_color_option(CLI::App& arguments, Reading_options& options);

bool wants_color(const Reading_options& options);

}  // namespace nuvctl
