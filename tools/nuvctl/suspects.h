// The facts that both the checks and the mends go by.
#pragma once

#include "camera.h"
#include "health.h"

#include <vector>

namespace nuvctl {

/// Processes that are attached to the registry that has the name.
std::vector<Region_user> attached_users(const Facts& facts);
/// Processes that are attached to a registry of this /dev/shm whose name was removed or replaced.
std::vector<Region_user> cut_off_users(const Facts& facts);

/// Whether somebody is attached whom /proc does not show, as the host's processes to a container.
bool has_invisible_users(const Facts& facts);
/// Whether somebody may be attached who was not seen.
bool may_have_unseen_users(const Facts& facts);
/// Processes that are attached to the registry, but whose process ids mean others than ours.
std::vector<Region_user> users_with_other_ids(const Facts& facts);
/// Those on registries of other /dev/shm, by registry.
std::vector<std::vector<Region_user>> other_registries(const Facts& facts);

/// More managers are counted than live, and everybody was seen.
bool count_is_too_high(const Facts& facts);
/// Nobody who is attached lives, though the heartbeat is young, and everybody was seen.
bool all_have_died(const Facts& facts);

/// Nobody was seen attached, and nobody has an attached manager's lock: only a manager that knows
/// no such lock, in a process that was not seen, could keep the registry.
bool seems_abandoned(const Facts& facts);

bool is_held_by_the_dead(const NUV_Device& entry);
/// Cameras that are marked as open by a process that has died.
std::vector<Camera> cameras_of_the_dead(const Facts& facts);

/// `sem_update` is held, its lock is not, and nobody is attached who knows no lock: the holder has
/// died.
bool update_holder_is_lost(const Facts& facts);

/// With "sudo" in front, unless root asks.
std::string as_root(const Facts& facts, const std::string& command);

/// Those that a signal has stopped.
std::vector<Region_user> stopped_of(const std::vector<Region_user>& users);

/// "kill 12 34", which a stopped process heeds once it goes on: then "kill -CONT 12" as well.
std::vector<std::string> ending(const Facts& facts, const std::vector<Region_user>& users);
/// "kill -CONT 12 34"
std::string continuing(const Facts& facts, const std::vector<Region_user>& users);
/// "12 viewer (ann), 13 viewer (ann, stopped)"
std::string names_of(const std::vector<Region_user>& users);

}  // namespace nuvctl
