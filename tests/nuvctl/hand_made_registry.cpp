#include "hand_made_registry.h"

#include "support/private_world.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <fstream>
#include <thread>

namespace nuv_test {

NUV_Devlist_Shm registry_with(const std::vector<NUV_Device>& cameras,
                              unsigned int value_of_sem_update) {
    NUV_Devlist_Shm registry{};
    registry.struct_version = NUV_SHM_VERSION;
    registry.opencount = 1;
    registry.time_stamp = std::time(nullptr);
    registry.id_counter = 10;
    sem_t semaphore;
    sem_init(&semaphore, 1, 1);
    registry.sem_rw = semaphore;
    sem_init(&semaphore, 1, value_of_sem_update);
    registry.sem_update = semaphore;
    std::copy(cameras.begin(), cameras.end(), registry.nuvdevice);
    return registry;
}

NUV_Device camera(unsigned int id, unsigned short iftype, unsigned int serialnumber,
                  const std::string& name, const std::string& interface_name) {
    NUV_Device device = {};
    device.entry_mark = NUV_ENTRY_MARK;
    device.status_bits = NUV_STATUS_PRESENT;
    device.id = id;
    device.serialnumber = serialnumber;
    device.nuv_iftype = iftype;
    std::memcpy(device.cameraname, name.data(), std::min(name.size(), NUV_NAME_SIZE));
    std::memcpy(device.interfacename, interface_name.data(),
                std::min(interface_name.size(), NUV_NAME_SIZE));
    return device;
}

nuvkit::Holder dead_holder() {
    // Seconds off: an emulator gives its own process a start that is some ticks late.
    nuvkit::Holder holder = nuvkit::current_process();
    holder.start_ticks -= 1000;
    return holder;
}

void publish(const NUV_Devlist_Shm& registry) {
    publish(std::string(reinterpret_cast<const char*>(&registry), sizeof registry));
}

void publish(const std::string& bytes) {
    ASSERT_TRUE(shm_is_private());
    std::ofstream(region_file, std::ios::binary) << bytes;
}

Region published_region() {
    const int file = open(region_file, O_RDWR | O_CLOEXEC);
    void* const mapped = mmap(nullptr, NUV_SHM_SIZE, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    return Region(static_cast<NUV_Devlist_Shm*>(mapped));
}

Process process_with_a_mapping_alone() {
    return ready_process([](const Ready& is_ready) {
        const int region = open(region_file, O_RDWR | O_CLOEXEC);
        void* const mapped =
            mmap(nullptr, NUV_SHM_SIZE, PROT_READ | PROT_WRITE, MAP_SHARED, region, 0);
        close(region);
        if (mapped != MAP_FAILED) {
            is_ready();
            wait_for_sigterm();
        }
    });
}

Process attached_process(long locked_byte, bool first_thread_ends) {
    return ready_process([&](const Ready& is_ready) {
        const int region = open(region_file, O_RDWR | O_CLOEXEC);
        for (const int access : {PROT_READ | PROT_WRITE, PROT_READ | PROT_WRITE, PROT_READ}) {
            if (mmap(nullptr, NUV_SHM_SIZE, access, MAP_SHARED, region, 0) == MAP_FAILED) {
                return;
            }
        }
        struct flock lock {};
        lock.l_type = F_WRLCK;
        lock.l_start = locked_byte;
        lock.l_len = 1;
        if (fcntl(region, F_OFD_SETLK, &lock) != 0) {
            return;
        }
        if (first_thread_ends) {
            std::thread([&] {
                while (access("/proc/self/exe", F_OK) == 0) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(1));
                }
                is_ready();
                wait_for_sigterm();
            }).detach();
            syscall(SYS_exit, 0);
        }
        is_ready();
        wait_for_sigterm();
    });
}

}  // namespace nuv_test
