// What the registry looks like before a victim takes its steps, and which steps these are.
#pragma once

#include "member.h"

#include <vector>

namespace robustness {

/// The processes of one case.
struct Cast {
    std::vector<Member> members;  ///< attached, and alive
    int dead_and_counted = 0;     ///< counted in the region for good
};

struct Scene {
    const char* name;
    Phase phase;
    void (*prepare)(Cast& cast);
    const char* from_line = "";
};

const std::vector<Scene>& all_scenes();

}  // namespace robustness
