// The shared registry as a file: looked at without taking part in it.
#pragma once

#include <nuv/registry_layout.h>

#include <optional>

namespace demo {

/// The registry's bytes at this moment; nothing when there is no registry.
std::optional<NUV_Devlist_Shm> read_registry();

/// Seconds since the registry's last heartbeat.
long heartbeat_age(const NUV_Devlist_Shm& registry);

}  // namespace demo
