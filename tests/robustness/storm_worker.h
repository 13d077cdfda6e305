// What a worker of a storm does until it is told to end, or dies.
#pragma once

#include "storm_board.h"

namespace robustness {

/// A manager of the registry alone, again and again.
int work_with_registry(Storm_board& board, Worker_slot& self, unsigned int seed);
/// A whole device manager with its back-ends and threads, again and again.
int work_with_cameras(Storm_board& board, Worker_slot& self, unsigned int seed);

}  // namespace robustness
