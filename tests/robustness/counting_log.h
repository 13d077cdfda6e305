// Stands in for the kit's log: every line is a step, and is shown to whoever asked.
#pragma once

#include <nuvkit/log.h>

#include <functional>
#include <memory>
#include <string>

namespace robustness {

/// A log for one manager.
std::unique_ptr<CNuv_Log> make_log();

/// `seen` is called for every line that this process writes, by the thread that writes it. Set
/// before any thread is there.
void watch_lines(std::function<void(const std::string& line)> seen);

}  // namespace robustness
