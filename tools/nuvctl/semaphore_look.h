// Whether the registry's semaphores are free, without touching them.
#pragma once

#include "lock_look.h"
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

struct Semaphores {
    Semaphore_look rw;
    Semaphore_look update;
    std::chrono::milliseconds watched{0};
    /// Seconds. The heartbeat is stored under `sem_rw`, so whoever holds it took it after the last.
    std::optional<std::int64_t> rw_held_at_most;
    Lock_state lock = Lock_state::unknown;  ///< on the byte of `sem_update`
};

bool is_held(const Semaphore_look& look);

/// Managers hold the semaphores for moments all the time: when one is held, both are looked at
/// again, every few milliseconds for as long as `watch`, until both were seen free.
Semaphores look_at_semaphores(const Registry_view& view, std::chrono::milliseconds watch);

}  // namespace nuvctl
