#include "fuzz/fuzz_world.h"
#include "fuzz/region_parts.h"
#include "tools/nuvctl/registry_view.h"

#include <nuv/bits.h>
#include <nuv/result.h>

#include <nuvkit/com.h>
#include <nuvkit/grab.h>

#include <algorithm>
#include <utility>

namespace nuv_fuzz {
namespace {

/// A record to ask for: often one that is in the list.
NUV_Device choose_device(CNuv_shm_manager& manager, FuzzedDataProvider& input) {
    NUV_Device device{};
    const int index = input.ConsumeIntegralInRange(-1, NUV_DEVICE_COUNT);
    if (manager.get_nuvdevice_listentry(index, device) != NUV_NOERROR) {
        input.ConsumeData(&device, sizeof device);
    } else {
        // The sanitizer lets a whole record be copied from one behind the end.
        require(index >= 0 && index < NUV_DEVICE_COUNT, "an index within the list");
    }
    return device;
}

void copy_names(CNuv_shm_manager& manager, NUV_Device& device) {
    char name[NUV_NAME_SIZE];
    std::copy(std::begin(device.cameraname), std::end(device.cameraname), name);
    manager.update_cameraname_of_nuvdevice_from_serialnumber(device.serialnumber, name);
    manager.update_interfacename_of_nuvdevice_from_serialnumber(device.serialnumber, name);
}

void use_semaphore(CNuv_sem_access* access) {
    if (access != nullptr && nuvctl::value_of(*access->sem) > 0) {
        access->wait();
        access->wait();
        access->post();
        access->post();
    }
}

template <class Handle>
void use_device(CNuv_interface& backend, unsigned int serialnumber, bool leave_open,
                unsigned int (CNuv_interface::*open)(unsigned int, Handle**),
                unsigned int (CNuv_interface::*close)(Handle*)) {
    Handle* handle = nullptr;
    if ((backend.*open)(serialnumber, &handle) == NUV_NOERROR) {
        require(handle != nullptr && handle->serialnumber == serialnumber, "the device asked for");
        if (!leave_open) {
            (backend.*close)(handle);
        }
    }
}

}  // namespace

void look_up(CNuv_shm_manager& manager, FuzzedDataProvider& input) {
    const NUV_Device device = choose_device(manager, input);
    NUV_Device out{};
    const unsigned int found = manager.get_nuvdevice_from_id(device.id, out);
    require(found != NUV_NOERROR || out.id == device.id, "the id asked for");
    manager.get_nuvdevice_from_serialnumber(device.serialnumber, out);
    manager.get_nuvdevice_from_extendedinfo(device.extended_info, out);
    manager.get_nuvdevice_unused(device.nuv_iftype, out);
    manager.get_nuvdevice_unused(0, out);
    manager.is_nuvdevice_in_devlist(device.nuv_iftype, device.serialnumber);
    for (int mode = 0; mode <= 5; ++mode) {
        int count = 0;
        manager.get_nuvdevice_count(mode, count);
        require(count >= 0 && count <= NUV_DEVICE_COUNT, "a count within the list");
    }
    std::vector<NUV_Device> list;
    manager.get_devlist_if(device.nuv_iftype, list);
    require(list.size() <= NUV_DEVICE_COUNT, "a list within the region");
}

void change(CNuv_shm_manager& manager, FuzzedDataProvider& input) {
    NUV_Device device = choose_device(manager, input);
    const auto bits = input.ConsumeIntegral<unsigned int>();
    manager.add_status_bits_to_nuvdevice_from_serialnumber(device.serialnumber, bits);
    manager.remove_status_bits_to_nuvdevice_from_serialnumber(device.serialnumber, ~bits);
    copy_names(manager, device);
    manager.set_extended_info(device.nuv_iftype, device.serialnumber, bits);
    manager.set_nuvdevice_to_free_listentry(device);
    unsigned int id = 0;
    manager.get_next_id(id);
    manager.increase_opencount(device.nuv_iftype);
    manager.decrease_opencount(device.backend_word_a);
    manager.decrease_opencount(device.nuv_iftype);
    manager.time_stamp_timeout();
    manager.update_time_stamp();
    use_semaphore(manager.sema_rw.get());
    use_semaphore(manager.sema_update.get());
}

void use_cameras(CNuv_interface& backend, FuzzedDataProvider& input) {
    std::vector<NUV_Device> found;
    backend.update_devices_in_shmlist();
    backend.find_devices(found);
    found.push_back(choose_device(*backend.shm_mgr, input));
    for (const NUV_Device& device : found) {
        use_device(backend, device.serialnumber, input.ConsumeBool(),
                   &CNuv_interface::open_grab_device, &CNuv_interface::close_grab_device);
        use_device(backend, device.serialnumber, input.ConsumeBool(),
                   &CNuv_interface::open_com_device, &CNuv_interface::close_com_device);
    }
    backend.update_devices_in_shmlist();
}

void delete_devices(CNuv_interface& backend, FuzzedDataProvider& input) {
    const NUV_Device device = choose_device(*backend.shm_mgr, input);
    const std::uint16_t own_type = std::exchange(backend.if_type, device.nuv_iftype);
    const unsigned int own_bits = backend.general_bits;
    // Seldom with a log, and not when the input has ended: each of many entries without an id makes
    // 128 lines.
    const bool listens = input.ConsumeIntegralInRange(0, 7) == 7 && device.id != 0;
    backend.set_general_bits(listens ? NUV_BIT_LOG_INTERFACE : 0);
    backend.delete_devices_in_shmlist();
    backend.shm_wait();
    backend.shm_increase_opencount(backend.if_type);
    backend.shm_decrease_opencount(backend.if_type);
    backend.shm_post();
    backend.set_general_bits(own_bits);
    backend.if_type = own_type;
}

}  // namespace nuv_fuzz
