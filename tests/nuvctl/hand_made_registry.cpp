#include "hand_made_registry.h"

#include "support/private_world.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace nuv_test {

NUV_Devlist_Shm registry_with(const std::vector<NUV_Device>& cameras) {
    NUV_Devlist_Shm registry{};
    registry.struct_version = NUV_SHM_VERSION;
    registry.opencount = 1;
    registry.time_stamp = std::time(nullptr);
    registry.id_counter = 10;
    sem_t free_semaphore;
    sem_init(&free_semaphore, 1, 1);
    registry.sem_rw = free_semaphore;
    registry.sem_update = free_semaphore;
    std::copy(cameras.begin(), cameras.end(), registry.nuvdevice);
    return registry;
}

NUV_Devlist_Shm registry_with_update_held(const std::vector<NUV_Device>& cameras) {
    NUV_Devlist_Shm registry = registry_with(cameras);
    sem_t held;
    sem_init(&held, 1, 0);
    registry.sem_update = held;
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
    std::ofstream(registry_path(), std::ios::binary) << bytes;
}

std::string published_bytes() {
    std::ostringstream bytes;
    bytes << std::ifstream(registry_path(), std::ios::binary).rdbuf();
    return bytes.str();
}

Process attached_process(long locked_byte, bool first_thread_ends) {
    return ready_process([&](const Ready& is_ready) {
        const int region = open(registry_path().c_str(), O_RDWR | O_CLOEXEC);
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

std::string registry_path() {
    return std::string("/dev/shm") + NUV_SHM_NAME;
}

}  // namespace nuv_test
