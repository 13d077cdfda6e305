// The runs. Each prints its counts on a line, and ends at the first violation; the argument is how
// long the run is.
#pragma once

namespace robustness {

bool run_steps(int all_in_real_time);
bool run_storm(int seconds);
bool run_stampede(int rounds);
bool run_slow(int rounds);
bool run_lost_sem_rw(int rounds);
bool run_lost_sem_update(int rounds);
bool run_leaving(int rounds);
bool run_forks(int rounds);
bool run_stopping(int rounds);

}  // namespace robustness
