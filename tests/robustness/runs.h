// The runs. Each throws at the first violation; the argument is how long the run is.
#pragma once

namespace robustness {

void run_steps(int all_in_real_time);
void run_storm(int seconds);
void run_lost_sem_rw(int rounds);
void run_lost_sem_update(int rounds);
void run_stopping(int rounds);

}  // namespace robustness
