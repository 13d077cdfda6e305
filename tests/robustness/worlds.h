// Many cases at once, each lane of them in a /dev/shm of its own.
#pragma once

#include <functional>

namespace robustness {

/// Moves this process to an empty /dev/shm.
void enter_own_shm();

/// Runs `run(0)` to `run(count - 1)`, spread over that many lanes: forked processes, in each of
/// which one case runs after the other.
/// \return whether none of them failed; the others end with the first that does
bool run_in_lanes(int lanes, int count, const std::function<void(int number)>& run);

}  // namespace robustness
