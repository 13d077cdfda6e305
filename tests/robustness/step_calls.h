// A process that dies, stops or forks at the n-th step of the registry's protocol.
//
// Nearly every step is a system call or a line in the log. The program defines these calls itself,
// and so comes before the system's in every library that is loaded; the library is built as it is
// shipped.
#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace robustness {

/// From now on, or from the log line with that part on, the calling thread's steps are counted, and
/// `action` runs right before the n-th (1: the next). A forked child counts none.
void act_before_step(long n, std::function<void()> action, std::string from_line = "");
/// \return how many steps there were
long stop_counting_steps();

/// `seen` is called for every line that the library logs, by the thread that writes it. Set before
/// any thread is there.
void watch_lines(std::function<void(const std::string& line)> seen);

/// From now on, whoever is about to wait on a condition variable is late for it by so much.
void delay_condition_waits(std::chrono::microseconds how_long);

}  // namespace robustness
