// Whether the registry's semaphores are free, without touching them.
#pragma once

#include "registry_view.h"

#include <chrono>
#include <optional>

namespace nuvctl {

enum class Semaphore_state {
    free,
    held_briefly,  ///< at the first look, but not at all of them
    held,          ///< at every look
};

struct Semaphore_look {
    const char* name = "";
    int value = 0;  ///< at the last look
    Semaphore_state state = Semaphore_state::free;
};

/// The lock on the region's file that goes with `sem_update`. The kernel drops it when its owner
/// dies, so a semaphore that stays held while the lock is free has lost its holder.
enum class Update_lock { free, taken, unknown };

struct Semaphores {
    Semaphore_look rw;
    Semaphore_look update;
    std::chrono::milliseconds watched{0};
    /// Seconds. The heartbeat is stored under `sem_rw`, so whoever holds it took it after the last.
    std::optional<std::int64_t> rw_held_at_most;
    Update_lock lock = Update_lock::unknown;
};

/// Managers hold the semaphores for moments all the time: when one is held, both are looked at
/// again, every few milliseconds for as long as `watch`, until both were seen free.
Semaphores look_at_semaphores(const Registry_view& view, std::chrono::milliseconds watch);

}  // namespace nuvctl
