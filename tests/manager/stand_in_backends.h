// Stand in for the kit's six back-ends: each does what the test has laid down for its type.
//
// The test program defines the classes itself, so its definitions come before those of the kit's
// libraries, and the manager constructs these.
#pragma once

#include <atomic>
#include <functional>

namespace manager_test {

/// What a manager makes a back-end do.
enum class Step { construct, initialize, update, open, close, destroy };

struct Stand_in {
    /// Runs in each step but the last, and may wait or throw. Its result is the step's; an open
    /// that answers 0 gives out a handle. None: every step answers 0.
    std::function<unsigned int(Step)> in_step;

    std::atomic<int> counts[6] = {};
    std::atomic<int>& count(Step step) { return counts[static_cast<int>(step)]; }
};

/// The six that stand in, by interface type.
Stand_in& stand_in(unsigned short iftype);
void forget_stand_ins();

}  // namespace manager_test
