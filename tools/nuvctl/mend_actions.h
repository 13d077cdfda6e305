// The acts of `repair`. They go through the library's own attachment wherever they touch the
// registry, so that they are as safe beside others as any manager.
//
// Each looks again, returns what went wrong, and nothing when it is done or no longer needed.
#pragma once

#include "region_users.h"

#include <string>
#include <vector>

namespace nuvctl {

/// Removes what is neither a file, which somebody may have mapped, nor a directory, which may be of
/// worth to somebody.
std::string remove_odd_file();

/// Attaches and detaches: the library clears a stale registry, builds a short one anew, takes the
/// name from one of another version, and removes one that nobody else is attached to.
std::string replace_registry();

/// Sets the count of managers to those that live. Removes a registry that nobody else is in.
std::string correct_count();

/// A manager that waits for `sem_rw` frees it when the tolerance is over; a newcomer, which could
/// only clear the registry under the living, keeps away.
std::string await_sem_rw();

/// Attaches, which takes `sem_rw` and with it what was posted to it too often; then takes and gives
/// back `sem_update`, which frees it when its holder has died, and takes its surplus away too.
std::string settle_semaphores();

std::string release_cameras_of_the_dead();

/// Asks them to end, and waits for a while.
std::string end_processes(const std::vector<Region_user>& users);

}  // namespace nuvctl
