#include "look_interval.h"

#include "seconds.h"

#include <CLI/CLI.hpp>

namespace nuvctl {

std::chrono::milliseconds Look_interval::duration() const {
    return milliseconds_of(seconds);
}

void add_interval(CLI::App& arguments, Look_interval& interval) {
    arguments.add_option("--interval", interval.seconds, "Look every so many seconds")
        ->check(seconds_between(0.01, 3600))
        ->capture_default_str()
        ->type_name("SECONDS");
}

}  // namespace nuvctl
