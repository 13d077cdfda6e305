// A back-end's entries in the registry's device list.
#pragma once

#include <nuv/interface.h>

#include <nuvkit/camera_source.h>
#include <nuvkit/holder.h>

namespace nuvkit {

constexpr std::uint32_t open_bits = NUV_STATUS_GRAB_OPEN | NUV_STATUS_COM_OPEN;

/// Holds the registry's `sem_rw` through a back-end's own manager, if it can be had.
class Registry_hold {
public:
    explicit Registry_hold(CNuv_interface& backend)
        : owner(backend), held(backend.shm_valid() && backend.shm_wait() == 0) {}
    Registry_hold(const Registry_hold&) = delete;
    Registry_hold& operator=(const Registry_hold&) = delete;
    ~Registry_hold() {
        if (held) {
            owner.shm_post();
        }
    }

    explicit operator bool() const { return held; }
    NUV_Devlist_Shm& registry() { return *owner.shm_mgr->devlist_shm; }

private:
    CNuv_interface& owner;
    const bool held;
};

// What takes the registry is called while `sem_rw` is held. Entries go by index, -1 for none.

int find_camera(const NUV_Devlist_Shm& registry, std::uint16_t iftype, std::uint64_t key);
/// Of several cameras with the serial number the first that is present, else the first.
int find_serialnumber(const NUV_Devlist_Shm& registry, std::uint16_t iftype,
                      std::uint32_t serialnumber);
bool has_free_entry(const NUV_Devlist_Shm& registry);
/// The back-ends of the type that are counted, over all processes.
unsigned int users_of(const NUV_Devlist_Shm& registry, std::uint16_t iftype);

/// The record of a camera that is present and not open, without an id.
NUV_Device device_of(const Camera& camera, std::uint16_t iftype);
/// Takes the camera's names over and marks it present.
void refresh(NUV_Device& entry, const Camera& camera);
/// Marks the camera as open by the holder.
void mark_open(NUV_Device& entry, std::uint32_t bit, const Holder& holder);
/// Clears open bits, the holder with the last of them, and the entry if its camera has gone.
void mark_closed(NUV_Devlist_Shm& registry, int index, std::uint32_t bits);
/// The camera is not there: clears the entry, or the present bit while it is open.
void mark_gone(NUV_Devlist_Shm& registry, int index);

bool is_open(const NUV_Device& entry);

}  // namespace nuvkit
