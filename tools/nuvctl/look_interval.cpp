#include "look_interval.h"

#include <CLI/CLI.hpp>

namespace nuvctl {

std::chrono::milliseconds Look_interval::duration() const {
    return std::chrono::milliseconds(static_cast<int>(seconds * 1000));
}

void add_interval(CLI::App& arguments, Look_interval& interval) {
    arguments.add_option("--interval", interval.seconds, "Look every so many seconds")
        ->check(CLI::Range(0.01, 3600.0))
        ->capture_default_str()
        ->type_name("SECONDS");
}

}  // namespace nuvctl
