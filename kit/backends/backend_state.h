// What a back-end keeps in its process, and the work behind its virtual operations.
#pragma once

#include "registry_entries.h"

#include <nuvkit/backend.h>
#include <nuvkit/camera_source.h>
#include <nuvkit/com.h>
#include <nuvkit/grab.h>

#include <sys/types.h>

#include <list>
#include <memory>
#include <mutex>
#include <vector>

namespace nuvkit {

/// A device that this back-end has open: one of the two handles, by its kind.
struct Open_device {
    Device_kind kind;
    std::uint64_t key = 0;
    bool closing = false;
    std::unique_ptr<CNuv_grab> grab;
    std::unique_ptr<CNuv_com> com;

    const void* handle() const;
};
/// Nodes are made before anything is opened, so that recording one cannot fail.
using Open_devices = std::list<Open_device>;

/// Lock order: `sem_rw`, then `mutex`. The mutex is the innermost lock: whoever has it waits for
/// nothing and calls no source, so it may be taken while `sem_rw` is held, and is taken so wherever
/// the registry's open bits and `devices` must change together. Sources are called, and processes
/// looked up, with neither.
struct Backend::State {
    State(Backend& backend, std::unique_ptr<Camera_source> cameras);

    unsigned int open(unsigned int serialnumber, Open_devices node);
    unsigned int close(const void* handle, const char* operation);
    void close_all();

    unsigned int update();
    unsigned int find(std::vector<Camera>& cameras, const char* operation);
    void log_remarks(const char* operation);

    void count_in();
    void count_out();

    // A forked child has these objects, but neither the devices nor the registry's count are its.
    bool in_own_process() const;

    Backend& owner;
    const std::unique_ptr<Camera_source> source;
    const pid_t process_id;
    bool counted_in = false;
    std::mutex mutex;
    Open_devices devices;  // guarded by `mutex`

private:
    struct Scan;

    unsigned int choose(unsigned int serialnumber, Device_kind kind, NUV_Device& entry);
    unsigned int record(const NUV_Device& chosen, Open_devices& node);
    unsigned int close_source(const Open_device& device);
    void forget(Open_devices::iterator device);

    void apply(Registry_hold& hold, Scan& scan);
    void refresh_known(NUV_Devlist_Shm& registry, Scan& scan);
    void remove_unseen(NUV_Devlist_Shm& registry, const Scan& scan);
    void add_new(NUV_Devlist_Shm& registry, Scan& scan);
    void mark_own_devices(NUV_Devlist_Shm& registry, const Scan& scan);
    void collect_holders(const NUV_Devlist_Shm& registry, Scan& scan);
    void free_dead_holders(const Scan& scan);
};

std::uint32_t open_bit(Device_kind kind);

}  // namespace nuvkit
