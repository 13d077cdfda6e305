// What `repair` can do about what `doctor` finds.
#pragma once

#include "health.h"

#include <functional>
#include <string>
#include <vector>

namespace nuvctl {

struct Mend {
    std::string what;  ///< in words, as a command: "remove the stale registry"
    std::string harm;  ///< whom it could harm, and how; empty: nobody who lives
    /// Does it. \return what went wrong; empty: done
    std::function<std::string()> act;
};

/// In the order in which they are to be done. Each finds out for itself, at that moment, what is
/// still to be mended.
std::vector<Mend> plan_mends(const Facts& facts);

}  // namespace nuvctl
