// Opening a camera's grabber or communication device by its registry id.
#include "manager/backends.h"
#include "manager/listens.h"
#include "manager/scan_suspension.h"
#include "manager/update_hold.h"

#include <nuv/bits.h>
#include <nuv/device_manager.h>
#include <nuv/result.h>

#include <new>

namespace {

/// What an open needs before anything else; says in the log what is missing.
unsigned int check_request(CNuv_device_manager& manager, const char* op, const void* address) {
    if (!nuv::check_registry(manager, op)) {
        return NUV_ERROR_NOMEMORY;
    }
    if (address == nullptr) {
        NUV_LOG(manager, NUV_LOG_ERROR, "%s: no address for the handle", op);
        return NUV_ERROR_NOT_FOUND;
    }
    return NUV_NOERROR;
}

/// Records an open handle with its interface type. Without memory for that, nobody could close it
/// later: so it is closed at once.
template <class Handle, class Close>
unsigned int record(std::unordered_map<Handle*, std::uint16_t>& list, Handle* handle,
                    std::uint16_t iftype, Close close) {
    try {
        list.try_emplace(handle, iftype);
        return NUV_NOERROR;
    } catch (const std::bad_alloc&) {
        close();
        return NUV_ERROR_NOMEMORY;
    }
}

unsigned int open_grab(CNuv_device_manager& manager, const char* op, unsigned int id,
                       CNuv_grab** grab) {
    NUV_Device device{};
    if (const unsigned int error = manager.shm_mgr->get_nuvdevice_from_id(id, device); error != 0) {
        return error;
    }
    const std::uint16_t iftype = device.nuv_iftype;
    CNuv_interface* const backend = nuv::find_backend(manager, iftype);
    if (backend == nullptr) {
        return NUV_ERROR_NOT_FOUND;
    }
    const nuv::Scan_suspension no_scan(manager, iftype);
    unsigned int result = nuv::call_backend(
        manager, op, [&] { return backend->open_grab_device(device.serialnumber, grab); });
    if (result == 0) {
        result = record(manager.grabdev_list, *grab, iftype, [&] {
            nuv::call_backend(manager, op, [&] { return backend->close_grab_device(*grab); });
        });
    }
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: open and add to list done size %d err 0x%x", op,
            static_cast<int>(manager.grabdev_list.size()), result);
    return result;
}

unsigned int open_com(CNuv_device_manager& manager, const char* op, unsigned int id,
                      CNuv_com** com) {
    NUV_Device device{};
    if (const unsigned int error = manager.shm_mgr->get_nuvdevice_from_id(id, device); error != 0) {
        return error;
    }
    const std::uint16_t iftype = device.nuv_iftype;
    CNuv_interface* const backend = nuv::find_backend(manager, iftype);
    if (backend == nullptr) {
        NUV_LOG(manager, NUV_LOG_ERROR, "%s: if_class not found", op);
        return NUV_ERROR_NOT_FOUND;
    }
    unsigned int result = nuv::call_backend(
        manager, op, [&] { return backend->open_com_device(device.serialnumber, com); });
    if (result == 0) {
        result = record(manager.comdev_list, *com, iftype, [&] {
            nuv::call_backend(manager, op, [&] { return backend->close_com_device(*com); });
        });
    }
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: open and add to list done size %d err 0x%x", op,
            static_cast<int>(manager.comdev_list.size()), result);
    return result;
}

}  // namespace

unsigned int CNuv_device_manager::open_grab_device_from_id(unsigned int id, CNuv_grab** grab) {
    static constexpr char op[] = "open_grab_device_from_id";
    if (const unsigned int error = check_request(*this, op, grab); error != 0) {
        return error;
    }
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: id %d", op, id);
    nuv::Update_hold update(*this, op);
    const unsigned int result = open_grab(*this, op, id, grab);
    update.release();
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: return 0x%x", op, result);
    return result;
}

unsigned int CNuv_device_manager::open_com_device_from_id(unsigned int id, CNuv_com** com) {
    static constexpr char op[] = "open_com_device_from_id";
    if (const unsigned int error = check_request(*this, op, com); error != 0) {
        return error;
    }
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: nuvnum %d", op, id);
    nuv::Update_hold update(*this, op);
    const unsigned int result = open_com(*this, op, id, com);
    update.release();
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: return 0x%x", op, result);
    return result;
}
