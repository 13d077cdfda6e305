// Whether the registry's semaphores are free, without touching them.
#pragma once

#include "registry_view.h"

#include <string>
#include <vector>

namespace nuvctl {

enum class Semaphore_state {
    free,
    held_briefly,  ///< at the first of two looks only
    held,          ///< at both
};

struct Semaphore_look {
    std::string name;
    int value = 0;
    Semaphore_state state = Semaphore_state::free;
};

/// Managers hold the semaphores for moments all the time: when one is held, both are looked at once
/// more after 200 ms.
std::vector<Semaphore_look> look_at_semaphores(const Registry_view& view);

}  // namespace nuvctl
