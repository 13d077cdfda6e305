#include "registry_world.h"

#include "fail.h"

#include <nuv/iftype.h>
#include <nuv/result.h>

#include <cstdio>

namespace nuv_bench {

NUV_Device device(unsigned int id, unsigned int iftype) {
    NUV_Device made{};
    made.entry_mark = NUV_ENTRY_MARK;
    made.status_bits = NUV_STATUS_PRESENT;
    made.id = id;
    made.serialnumber = 7000 + id;
    made.extended_info = 0x100000000 + id;
    made.nuv_iftype = static_cast<std::uint16_t>(iftype);
    std::snprintf(made.cameraname, NUV_NAME_SIZE, "Camera %u of the line", id);
    std::snprintf(made.interfacename, NUV_NAME_SIZE, "Interface USB3");
    return made;
}

std::unique_ptr<CNuv_shm_manager> attached_manager() {
    auto manager = std::make_unique<CNuv_shm_manager>();
    if (manager->Initialize() != NUV_NOERROR) {
        fail("cannot attach to a fresh registry");
    }
    return manager;
}

std::unique_ptr<CNuv_shm_manager> manager_of_full_registry() {
    auto manager = attached_manager();
    for (unsigned int id = 1; id <= last_id; ++id) {
        if (manager->set_nuvdevice_to_free_listentry(device(id, NUV_IFTYPE_USB3)) != NUV_NOERROR) {
            fail("cannot fill the registry");
        }
    }
    return manager;
}

}  // namespace nuv_bench
