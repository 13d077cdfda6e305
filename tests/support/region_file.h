// The region as a test sees it from outside.
#pragma once

#include <semaphore.h>
#include <unistd.h>

namespace nuv_test {

constexpr char region_file[] = "/dev/shm/nuv_device_shmem";

inline bool region_exists() {
    return access(region_file, F_OK) == 0;
}

/// -1 when that is no semaphore.
inline int value_of(sem_t* semaphore) {
    int value = -1;
    sem_getvalue(semaphore, &value);
    return value;
}

}  // namespace nuv_test
