// What the registry looks like before a victim takes its steps, and which steps these are.
#pragma once

#include "roles.h"

#include <vector>

namespace robustness {

struct Scene {
    const char* name;
    Plan::Phase phase;
    void (*prepare)(struct Cast& cast);
    const char* from_line;
    milliseconds longest{200};  ///< to wait for a step that comes once the victim is attached
};

/// The processes of one case.
struct Cast {
    std::vector<Member> members;  ///< attached, and alive
    int dead_and_counted = 0;     ///< counted in the region for good
};

const std::vector<Scene>& all_scenes();

}  // namespace robustness
