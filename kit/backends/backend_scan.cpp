// Bringing the registry's entries up to date with what the source sees.
#include "backend_state.h"

#include <nuv/bits.h>
#include <nuv/result.h>

#include <algorithm>
#include <bitset>

namespace nuvkit {

/// One scan. Everything that needs memory is here before the registry is held.
struct Backend::State::Scan {
    explicit Scan(std::vector<Camera> found)
        : cameras(std::move(found)), listed(cameras.size()), self(current_process()) {
        holders.reserve(NUV_DEVICE_COUNT);
    }

    const std::vector<Camera> cameras;
    std::vector<bool> listed;            // by camera: has an entry
    std::bitset<NUV_DEVICE_COUNT> seen;  // by entry: its camera is there
    const Holder self;
    std::vector<Holder> holders;  // other processes that have cameras open
    std::size_t without_room = 0;
};

unsigned int Backend::State::update() {
    static constexpr char operation[] = "update_devices_in_shmlist";
    std::vector<Camera> cameras;
    if (const unsigned int code = find(cameras, operation); code != NUV_NOERROR) {
        return code;
    }
    Scan scan(std::move(cameras));
    {
        Registry_hold hold(owner);
        if (!hold) {
            return NUV_ERROR_NOMEMORY;
        }
        apply(hold, scan);
    }
    free_dead_holders(scan);
    if (scan.without_room != 0) {
        owner.writelogb(NUV_LOG_ERROR, "%s: device list is full, %zu cameras are not in it",
                        operation, scan.without_room);
        return NUV_ERROR_NOMEMORY;
    }
    return NUV_NOERROR;
}

unsigned int Backend::State::find(std::vector<Camera>& cameras, const char* operation) {
    const unsigned int code = source->find(cameras);
    log_remarks(operation);
    if (code != NUV_NOERROR) {
        owner.writelogb(NUV_LOG_ERROR, "%s: looking for cameras failed 0x%x", operation, code);
    }
    return code;
}

void Backend::State::log_remarks(const char* operation) {
    for (const std::string& remark : source->take_remarks()) {
        owner.writelogb(NUV_LOG_ERROR, "%s: %s", operation, remark.c_str());
    }
}

// Removes before it adds, so that what goes makes room for what comes.
void Backend::State::apply(Registry_hold& hold, Scan& scan) {
    NUV_Devlist_Shm& registry = hold.registry();
    refresh_known(registry, scan);
    remove_unseen(registry, scan);
    add_new(registry, scan);
    mark_own_devices(registry, scan);
    collect_holders(registry, scan);
}

void Backend::State::refresh_known(NUV_Devlist_Shm& registry, Scan& scan) {
    for (std::size_t i = 0; i < scan.cameras.size(); ++i) {
        const int index = find_camera(registry, owner.if_type, scan.cameras[i].key);
        if (index >= 0) {
            refresh(registry.nuvdevice[index], scan.cameras[i]);
            scan.seen.set(static_cast<std::size_t>(index));
            scan.listed[i] = true;
        }
    }
}

void Backend::State::remove_unseen(NUV_Devlist_Shm& registry, const Scan& scan) {
    for (int i = 0; i < NUV_DEVICE_COUNT; ++i) {
        if (registry.nuvdevice[i].nuv_iftype == owner.if_type &&
            !scan.seen[static_cast<std::size_t>(i)]) {
            mark_gone(registry, i);
        }
    }
}

void Backend::State::add_new(NUV_Devlist_Shm& registry, Scan& scan) {
    for (std::size_t i = 0; i < scan.cameras.size(); ++i) {
        if (scan.listed[i]) {
            continue;
        }
        // Looked at first: an id is not to be spent on a camera that finds no room.
        if (!has_free_entry(registry)) {
            ++scan.without_room;
            continue;
        }
        NUV_Device device = device_of(scan.cameras[i], owner.if_type);
        unsigned int id = 0;
        owner.shm_mgr->get_next_id(id);
        device.id = id;
        owner.shm_mgr->set_nuvdevice_to_free_listentry(device);
    }
}

// A registry that was cleared has forgotten who has what open.
void Backend::State::mark_own_devices(NUV_Devlist_Shm& registry, const Scan& scan) {
    if (!in_own_process()) {
        return;
    }
    const std::lock_guard lock(mutex);
    for (const Open_device& device : devices) {
        const int index = find_camera(registry, owner.if_type, device.key);
        if (index < 0) {
            continue;
        }
        NUV_Device& entry = registry.nuvdevice[index];
        if (!is_open(entry) || holder_of(entry) == scan.self) {
            mark_open(entry, open_bit(device.kind), scan.self);
        }
    }
}

void Backend::State::collect_holders(const NUV_Devlist_Shm& registry, Scan& scan) {
    for (const NUV_Device& entry : registry.nuvdevice) {
        if (entry.nuv_iftype != owner.if_type || !is_open(entry)) {
            continue;
        }
        const Holder holder = holder_of(entry);
        const bool known =
            holder == scan.self || std::any_of(scan.holders.begin(), scan.holders.end(),
                                               [&](const Holder& one) { return one == holder; });
        if (!known) {
            scan.holders.push_back(holder);
        }
    }
}

// Processes are looked up with the registry free; what a dead one holds by then is still its own.
void Backend::State::free_dead_holders(const Scan& scan) {
    for (const Holder& holder : scan.holders) {
        if (is_alive(holder)) {
            continue;
        }
        owner.writelogb(NUV_LOG_ERROR, "%s: process %d died with a camera open",
                        "update_devices_in_shmlist", holder.process_id);
        Registry_hold hold(owner);
        for (int i = 0; hold && i < NUV_DEVICE_COUNT; ++i) {
            const NUV_Device entry = hold.registry().nuvdevice[i];
            if (entry.nuv_iftype == owner.if_type && is_open(entry) && holder_of(entry) == holder) {
                release_camera(hold.registry(), i);
            }
        }
    }
}

}  // namespace nuvkit
