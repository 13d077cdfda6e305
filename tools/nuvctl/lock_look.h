// The locks on the registry's file by which managers tell each other that they live: asked about,
// never taken.
#pragma once

#include <sys/types.h>

namespace nuvctl {

/// The kernel drops a lock when its owner dies: a `sem_update` that stays held while the lock on
/// its byte is free has lost its holder.
enum class Lock_state { free, taken, unknown };

Lock_state lock_on(int descriptor, off_t byte);

}  // namespace nuvctl
