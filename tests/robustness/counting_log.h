// Every line of the log is a step, and is shown to whoever asked.
#pragma once

#include "support/stand_in_log.h"

namespace robustness {

using nuv_test::make_log;

/// `seen` is called for every line that this process writes, by the thread that writes it. Set
/// before any thread is there.
void watch_lines(std::function<void(const std::string& line)> seen);

}  // namespace robustness
