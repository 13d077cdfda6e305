#include "floor.h"

#include "fail.h"

#include <sys/mman.h>
#include <sys/time.h>

#include <cstring>

namespace nuv_bench {

Floor::Floor(const NUV_Devlist_Shm& original) {
    void* const address =
        mmap(nullptr, NUV_SHM_SIZE, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    require(address != MAP_FAILED, "no memory for the yardstick's table");
    std::memcpy(address, &original, NUV_SHM_SIZE);
    mapping = static_cast<NUV_Devlist_Shm*>(address);
    semaphore_in_mapping =
        reinterpret_cast<sem_t*>(static_cast<char*>(address) + offsetof(NUV_Devlist_Shm, sem_rw));
    sem_init(semaphore_in_mapping, 1, 1);
}

Floor::~Floor() {
    munmap(mapping, NUV_SHM_SIZE);
}

int scan_ids(const NUV_Devlist_Shm& region, unsigned int id) {
#pragma GCC unroll 16
    for (int index = 0; index < NUV_DEVICE_COUNT; ++index) {
        if (region.nuvdevice[index].id == id) {
            return index;
        }
    }
    return -1;
}

bool Floor::look_up(unsigned int id, NUV_Device& out) {
    sem_wait(semaphore_in_mapping);
    const int index = scan_ids(*mapping, id);
    if (index >= 0) {
        out = mapping->nuvdevice[index];
    }
    sem_post(semaphore_in_mapping);
    return index >= 0;
}

void Floor::store(const NUV_Device& device) {
    sem_wait(semaphore_in_mapping);
#pragma GCC unroll 16
    for (NUV_Device& entry : mapping->nuvdevice) {
        if (entry.id == 0 && entry.serialnumber == 0) {
            entry = device;
            break;
        }
    }
    sem_post(semaphore_in_mapping);
}

void Floor::list(unsigned int iftype, std::vector<NUV_Device>& devices) {
    sem_wait(semaphore_in_mapping);
#pragma GCC unroll 16
    for (const NUV_Device& entry : mapping->nuvdevice) {
        if (entry.nuv_iftype == iftype) {
            devices.push_back(entry);
        }
    }
    sem_post(semaphore_in_mapping);
}

int Floor::count_in_use() {
    sem_wait(semaphore_in_mapping);
    int count = 0;
#pragma GCC unroll 16
    for (const NUV_Device& entry : mapping->nuvdevice) {
        count += entry.status_bits != 0 ? 1 : 0;
    }
    sem_post(semaphore_in_mapping);
    return count;
}

void Floor::refresh_time_stamp() {
    sem_wait(semaphore_in_mapping);
    timeval now{};
    gettimeofday(&now, nullptr);
    mapping->time_stamp = now.tv_sec;
    sem_post(semaphore_in_mapping);
}

}  // namespace nuv_bench
