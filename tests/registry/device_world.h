// A registry with devices in it.
#pragma once

#include "registry/registry_world.h"

#include <atomic>
#include <cstring>

namespace registry_test {

/// Larger pieces of memory are refused, to whoever asks.
extern std::atomic<std::size_t> largest_allocation;

inline NUV_Device device(unsigned int id, unsigned int serialnumber, std::uint16_t type = 8,
                         unsigned int status = NUV_STATUS_PRESENT) {
    NUV_Device made{};
    made.id = id;
    made.serialnumber = serialnumber;
    made.nuv_iftype = type;
    made.status_bits = status;
    return made;
}

class Device_test : public Registry_test {
protected:
    void list(const NUV_Device& listed) {
        ASSERT_EQ(manager->set_nuvdevice_to_free_listentry(listed), 0U);
        record.clear();
    }
    static NUV_Device entry(int index) {
        return peek<NUV_Device>(AT_DEVICES + 164 * static_cast<long>(index));
    }
    static bool same(const NUV_Device& one, const NUV_Device& other) {
        return std::memcmp(&one, &other, sizeof one) == 0;
    }
    const std::unique_ptr<CNuv_shm_manager> manager = attached_manager(NUV_BIT_LOG_SHM_MANAGER);
};

}  // namespace registry_test
