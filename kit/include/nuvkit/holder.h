/// \file
/// Who holds a camera, as the kit's back-ends write it into `NUV_Device::backend_data`.
#pragma once

#include <nuv/device.h>
#include <nuv/export.h>
#include <nuv/registry_layout.h>

#include <cstdint>

namespace nuvkit {

/// A process that has a camera open. The start time tells it from a later process with its id.
struct Holder {
    std::int32_t process_id = 0;    ///< 0: nobody
    std::uint32_t start_ticks = 0;  ///< low 32 bits of the process's start, clock ticks since boot
};

/// Whether the two are one process.
inline bool operator==(const Holder& one, const Holder& other) {
    return one.process_id == other.process_id && one.start_ticks == other.start_ticks;
}
/// Whether the two are different processes.
inline bool operator!=(const Holder& one, const Holder& other) {
    return !(one == other);
}

/// The calling process.
NUV_EXPORT Holder current_process();
/// Who has the camera of this entry open; nobody when it has not been written.
NUV_EXPORT Holder holder_of(const NUV_Device& device);
/// Writes the holder into the record; the status bits stay as they are.
NUV_EXPORT void set_holder(NUV_Device& device, const Holder& holder);
/// Whether that very process still lives. A process of another user counts as living when it is
/// there with the same start time; a zombie is dead. Nobody is not living. Process ids mean nothing
/// outside their PID namespace: processes that share the registry must share that too, or one takes
/// the other's for dead.
NUV_EXPORT bool is_alive(const Holder& holder);

/// Takes the camera of entry `index` from its holder, as a scan does when the holder has died. With
/// `sem_rw` held.
NUV_EXPORT void release_camera(NUV_Devlist_Shm& registry, int index);

}  // namespace nuvkit
