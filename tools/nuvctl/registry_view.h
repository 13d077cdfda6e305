// The shared registry as an onlooker sees it: copied through a read-only descriptor, never mapped,
// attached to, locked or changed.
#pragma once

#include "descriptor.h"

#include <nuv/registry_layout.h>

#include <sys/stat.h>

#include <cstdint>
#include <optional>
#include <string>

namespace nuvctl {

enum class Registry_state {
    live,
    stale,  ///< readable, but the heartbeat is too old or lies in the future
    absent,
    no_permission,
    too_short,
    wrong_version,
    unreadable,
};

struct Registry_view {
    Registry_state state = Registry_state::unreadable;
    std::string problem;                   ///< in words; empty when live
    std::optional<struct stat> file;       ///< what has the name, also when it can't be opened
    std::optional<NUV_Devlist_Shm> bytes;  ///< only when live or stale
    std::int64_t looked_at = 0;            ///< wall-clock seconds
};

constexpr char registry_path[] = "/dev/shm/nuv_device_shmem";

/// The registry by its name, open to look on. A negative number when it can't be opened; `errno`
/// tells why.
Descriptor open_registry();

/// Looks the registry up by name. One that is just being created is looked at again for 200 ms.
Registry_view look_at_registry();
/// The registry behind a descriptor, which may have lost its name.
Registry_view look_at_registry(int descriptor);

/// Something else than a file has the registry's name: nobody can be attached to it.
bool is_no_file(const Registry_view& view);

/// Seconds since the heartbeat; negative when it lies in the future.
std::int64_t heartbeat_age(const Registry_view& view);

/// Whether this user may attach, which takes more than to look; or create, where there is none.
bool may_attach();

/// The value of a semaphore that was copied out of the region: 0 while it is held.
int value_of(sem_t copy);

}  // namespace nuvctl
