// A step that cannot be cancelled, with an ear for who wants it to end.
#pragma once

#include "stop_signals.h"

#include <functional>

namespace nuvctl {

/// Runs `step` to its end. When a stop signal comes meanwhile, says `notice` on standard error; a
/// second one ends the process at once.
/// \return whether one came
bool run_interruptibly(Stop_signals& signals, const char* notice,
                       const std::function<void()>& step);

}  // namespace nuvctl
