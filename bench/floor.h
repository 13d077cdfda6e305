// The yardstick of what the registry does: as little as a semaphore and a table allow.
#pragma once

#include <nuv/device.h>
#include <nuv/registry_layout.h>

#include <semaphore.h>

#include <vector>

namespace nuv_bench {

/// A mapping of its own with a copy of a registry's bytes, and a semaphore that is free.
class Floor {
public:
    explicit Floor(const NUV_Devlist_Shm& original);
    Floor(const Floor&) = delete;
    Floor& operator=(const Floor&) = delete;
    ~Floor();

    /// Semaphore, unrolled scan of the ids, one copy.
    bool look_up(unsigned int id, NUV_Device& out);
    /// Semaphore, scan for the first free entry, one copy.
    void store(const NUV_Device& device);
    /// Semaphore, scan, a copy of each entry of the type into a vector that has room.
    void list(unsigned int iftype, std::vector<NUV_Device>& devices);
    /// Semaphore, scan.
    int count_in_use();
    /// Semaphore, clock, store.
    void refresh_time_stamp();

    NUV_Devlist_Shm& region() { return *mapping; }
    sem_t* semaphore() { return semaphore_in_mapping; }

private:
    NUV_Devlist_Shm* mapping;
    sem_t* semaphore_in_mapping;
};

/// Index of the first entry with this id, or -1.
int scan_ids(const NUV_Devlist_Shm& region, unsigned int id);

}  // namespace nuv_bench
