// Scanning of one interface type, switched off for as long as the object lives.
#pragma once

#include <nuv/bits.h>
#include <nuv/device_manager.h>

namespace nuv {

/// Leaves the option alone when it is set already. Made and destroyed within a hold of
/// `sem_update`, so that no pass sees the option half-way.
class Scan_suspension {
public:
    Scan_suspension(CNuv_device_manager& of_manager, std::uint16_t type)
        : manager(of_manager),
          iftype(type),
          set_here((manager.get_interface_options(type) & DEVMGR_IF_OPTION_DISABLE_SCAN) == 0) {
        if (set_here) {
            manager.add_interface_option(iftype, DEVMGR_IF_OPTION_DISABLE_SCAN);
        }
    }
    Scan_suspension(const Scan_suspension&) = delete;
    Scan_suspension& operator=(const Scan_suspension&) = delete;
    ~Scan_suspension() {
        if (set_here) {
            manager.remove_interface_option(iftype, DEVMGR_IF_OPTION_DISABLE_SCAN);
        }
    }

private:
    CNuv_device_manager& manager;
    std::uint16_t iftype;
    bool set_here;
};

}  // namespace nuv
