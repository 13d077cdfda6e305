// A process that dies, stops or forks at the n-th step of the registry's protocol.
//
// Nearly every step is a system call or a line in the log. The program defines these calls itself,
// and so comes before the system's in every library that is loaded; the library is built as it is
// shipped.
#pragma once

#include <chrono>
#include <functional>

namespace robustness {

/// From now on the calling thread's steps are counted, and `action` runs right before the n-th
/// (1: the next).
void act_before_step(long n, std::function<void()> action);
/// As above; the process sends itself that signal.
void signal_before_step(long n, int signal);
/// \return how many steps there were
long stop_counting_steps();
/// Ends what was asked for, as after a fork.
void forget_steps();

/// From now on, whoever is about to wait on a condition variable is late for it by so much.
void delay_condition_waits(std::chrono::microseconds how_long);

/// One step; called by the interposed calls and by the log.
void step();

}  // namespace robustness
