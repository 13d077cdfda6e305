/// \file
/// The bytes of the shared registry: docs/region-format.md has them as a table.
#pragma once

#include <nuv/device.h>

#include <semaphore.h>

#include <cstddef>
#include <cstdint>

/// Name of the POSIX shared-memory object that all processes of the machine share.
constexpr char NUV_SHM_NAME[] = "/nuv_device_shmem";
/// The only `struct_version` that a process attaches to.
constexpr std::uint16_t NUV_SHM_VERSION = 0x0101;
/// Bytes of the region.
constexpr std::size_t NUV_SHM_SIZE = 21464;
/// Seconds after which a heartbeat is too old, unless a manager's `set_difftime` says otherwise.
constexpr std::uint64_t NUV_SHM_DIFFTIME = 10;

// Bytes on which open-file-description locks of the region's file lie.

/// Held exclusively by whoever creates the region, attaches to it, clears it or leaves it, or frees
/// a lost `sem_rw`.
constexpr long NUV_SHM_GATE_BYTE = 0;
/// Shared by every attached manager.
constexpr long NUV_SHM_PRESENCE_BYTE = 1;
/// Held by whoever holds `sem_update`.
constexpr long NUV_SHM_UPDATE_BYTE = 2;

/// Entries of the device list.
constexpr int NUV_DEVICE_COUNT = 128;
/// Interface types whose users can be counted at once.
constexpr int NUV_IF_OPENCOUNT_SLOTS = 32;

/// Users of one interface type over all processes. A slot whose count falls to 0 is free again.
struct __attribute__((packed)) NUV_If_opencount {
    std::uint16_t InterfaceType;  ///< 0: the slot is free
    std::uint16_t opencount;      ///< never 0 in a slot that is taken
};

/// The whole region. Guarded by `sem_rw`, except where the registry is created, found stale or
/// removed. Take no pointers to members other than the semaphores: most are unaligned.
struct __attribute__((packed)) NUV_Devlist_Shm {
    std::uint16_t struct_version;  ///< NUV_SHM_VERSION; 0 while the region is being made
    std::int16_t opencount;        ///< attached registry managers, over all processes
    unsigned char padding[4];      ///< 0
    std::int64_t time_stamp;       ///< heartbeat: wall-clock seconds since the Epoch
    sem_t sem_rw;                  ///< guards the region's contents
    sem_t sem_update;              ///< serialises scans, opens and closes across processes
    std::int32_t processid;        ///< who last created, cleared or attached to the region
    NUV_Device nuvdevice[NUV_DEVICE_COUNT];                 ///< the device list
    NUV_If_opencount if_opencount[NUV_IF_OPENCOUNT_SLOTS];  ///< users of each interface type
    std::uint16_t nuv_num_list[NUV_DEVICE_COUNT];  ///< the back-ends' device numbers; 0: empty
    std::uint32_t id_counter;                      ///< the next id that is handed out
};

static_assert(sizeof(sem_t) == 32, "each semaphore has a slot of exactly 32 bytes");
static_assert(sizeof(NUV_If_opencount) == 4);
static_assert(sizeof(NUV_Devlist_Shm) == NUV_SHM_SIZE && alignof(NUV_Devlist_Shm) == 1);
static_assert(offsetof(NUV_Devlist_Shm, struct_version) == 0);
static_assert(offsetof(NUV_Devlist_Shm, opencount) == 2);
static_assert(offsetof(NUV_Devlist_Shm, padding) == 4);
static_assert(offsetof(NUV_Devlist_Shm, time_stamp) == 8);
static_assert(offsetof(NUV_Devlist_Shm, sem_rw) == 16);
static_assert(offsetof(NUV_Devlist_Shm, sem_update) == 48);
static_assert(offsetof(NUV_Devlist_Shm, processid) == 80);
static_assert(offsetof(NUV_Devlist_Shm, nuvdevice) == 84);
static_assert(offsetof(NUV_Devlist_Shm, if_opencount) == 21076);
static_assert(offsetof(NUV_Devlist_Shm, nuv_num_list) == 21204);
static_assert(offsetof(NUV_Devlist_Shm, id_counter) == 21460);
