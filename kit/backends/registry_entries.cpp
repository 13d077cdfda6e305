#include "registry_entries.h"

#include <algorithm>
#include <cstring>

namespace nuvkit {
namespace {

template <class Predicate>
int find_entry(const NUV_Devlist_Shm& registry, Predicate matches) {
#pragma GCC unroll 16
    for (int i = 0; i < NUV_DEVICE_COUNT; ++i) {
        if (matches(registry.nuvdevice[i])) {
            return i;
        }
    }
    return -1;
}

void copy_name(char (&target)[NUV_NAME_SIZE], const std::string& name) {
    const std::size_t length = std::min(name.size(), NUV_NAME_SIZE - 1);
    std::memset(target, 0, NUV_NAME_SIZE);
    std::memcpy(target, name.data(), length);
}

// As the registry's own deletion of all of a type's entries leaves them.
void clear_entry(NUV_Devlist_Shm& registry, int index) {
    NUV_Device& entry = registry.nuvdevice[index];
    for (int slot = 0; slot < NUV_DEVICE_COUNT; ++slot) {
        if (registry.nuv_num_list[slot] == entry.id) {
            registry.nuv_num_list[slot] = 0;
        }
    }
    NUV_Device cleared{};
    cleared.entry_mark = entry.entry_mark;
    cleared.extended_info = entry.extended_info;
    entry = cleared;
}

}  // namespace

int find_camera(const NUV_Devlist_Shm& registry, std::uint16_t iftype, std::uint64_t key) {
    return find_entry(registry, [&](const NUV_Device& entry) {
        return entry.extended_info == key && entry.nuv_iftype == iftype && entry.id != 0;
    });
}

int find_serialnumber(const NUV_Devlist_Shm& registry, std::uint16_t iftype,
                      std::uint32_t serialnumber) {
    const auto matches = [&](const NUV_Device& entry) {
        return entry.serialnumber == serialnumber && entry.nuv_iftype == iftype && entry.id != 0;
    };
    const int present = find_entry(registry, [&](const NUV_Device& entry) {
        return matches(entry) && (entry.status_bits & NUV_STATUS_PRESENT) != 0;
    });
    return present >= 0 ? present : find_entry(registry, matches);
}

bool has_free_entry(const NUV_Devlist_Shm& registry) {
    return find_entry(registry, [](const NUV_Device& entry) {
               return entry.id == 0 && entry.serialnumber == 0;
           }) >= 0;
}

unsigned int users_of(const NUV_Devlist_Shm& registry, std::uint16_t iftype) {
    for (const NUV_If_opencount& slot : registry.if_opencount) {
        if (slot.InterfaceType == iftype) {
            return slot.opencount;
        }
    }
    return 0;
}

NUV_Device device_of(const Camera& camera, std::uint16_t iftype) {
    NUV_Device device{};
    device.entry_mark = NUV_ENTRY_MARK;
    device.nuv_iftype = iftype;
    device.serialnumber = camera.serialnumber;
    device.extended_info = camera.key;
    refresh(device, camera);
    return device;
}

void refresh(NUV_Device& entry, const Camera& camera) {
    copy_name(entry.cameraname, camera.name);
    copy_name(entry.interfacename, camera.interfacename);
    entry.status_bits |= NUV_STATUS_PRESENT;
}

void mark_open(NUV_Device& entry, std::uint32_t bit, const Holder& holder) {
    entry.status_bits |= bit;
    set_holder(entry, holder);
}

void mark_closed(NUV_Devlist_Shm& registry, int index, std::uint32_t bits) {
    NUV_Device& entry = registry.nuvdevice[index];
    entry.status_bits &= ~bits;
    if (is_open(entry)) {
        return;
    }
    set_holder(entry, Holder{});
    if ((entry.status_bits & NUV_STATUS_PRESENT) == 0) {
        clear_entry(registry, index);
    }
}

void release_camera(NUV_Devlist_Shm& registry, int index) {
    mark_closed(registry, index, open_bits);
}

void mark_gone(NUV_Devlist_Shm& registry, int index) {
    NUV_Device& entry = registry.nuvdevice[index];
    entry.status_bits &= ~NUV_STATUS_PRESENT;
    if (!is_open(entry)) {
        clear_entry(registry, index);
    }
}

bool is_open(const NUV_Device& entry) {
    return (entry.status_bits & open_bits) != 0;
}

}  // namespace nuvkit
