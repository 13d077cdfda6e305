#include "registry_status.h"

namespace nuvctl {

Registry_status examine_registry(std::chrono::milliseconds watch) {
    Registry_status status;
    status.view = look_at_registry();
    if (status.view.bytes) {
        status.semaphores = look_at_semaphores(status.view, watch);
    }
    status.users = find_region_users();
    return status;
}

Entry_counts count_entries(const NUV_Devlist_Shm& registry) {
    Entry_counts counts;
    for (int i = 0; i < NUV_DEVICE_COUNT; ++i) {
        const NUV_Device entry = registry.nuvdevice[i];
        counts.used += entry.status_bits != 0;
        counts.free += entry.id == 0 && entry.serialnumber == 0;
    }
    return counts;
}

const Process* update_lock_owner(const Registry_status& status) {
    for (const Region_user& user : status.users.users) {
        if (user.has_update_lock && is_on(user, status.view)) {
            return &user.process;
        }
    }
    return nullptr;
}

}  // namespace nuvctl
