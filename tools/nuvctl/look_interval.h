// How often the verbs that follow the registry look at it.
#pragma once

#include <chrono>

namespace CLI {
class App;
}

namespace nuvctl {

/// Nothing tells an onlooker of a change in shared memory: what follows the registry must look
/// again and again, and does not see what comes and goes between two looks.
struct Look_interval {
    double seconds = 0.25;

    std::chrono::milliseconds duration() const;
};

void add_interval(CLI::App& arguments, Look_interval& interval);

}  // namespace nuvctl
