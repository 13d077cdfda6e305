// The registry as a whole: what `status` finds out, and how it puts it.
#pragma once

#include "region_users.h"
#include "registry_view.h"
#include "semaphore_look.h"
#include "table.h"

#include <chrono>
#include <nlohmann/json_fwd.hpp>
#include <optional>

namespace nuvctl {

struct Registry_status {
    Registry_view view;
    std::optional<Semaphores> semaphores;  ///< when the region could be read
    Region_users users;
};

/// Watches a semaphore that is held for as long as `watch`.
Registry_status examine_registry(std::chrono::milliseconds watch);

struct Entry_counts {
    int used = 0;
    int free = 0;
};

Entry_counts count_entries(const NUV_Devlist_Shm& registry);

/// The process that has the lock of `sem_update`; null when that is nobody, or may not be examined.
const Process* update_lock_owner(const Registry_status& status);

nlohmann::ordered_json status_to_json(const Registry_status& status);
/// One row a fact; none when there is no registry.
Table status_table(const Registry_status& status);

}  // namespace nuvctl
