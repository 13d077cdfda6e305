// The locks on the registry's file by which managers tell each other that they live: asked about,
// never taken.
#pragma once

#include <sys/types.h>

namespace nuvctl {

/// Shared by every attached manager.
constexpr off_t presence_byte = 1;
/// Goes with `sem_update`. The kernel drops it when its owner dies, so a semaphore that stays held
/// while the lock is free has lost its holder.
constexpr off_t update_byte = 2;

enum class Lock_state { free, taken, unknown };

Lock_state lock_on(int descriptor, off_t byte);

}  // namespace nuvctl
