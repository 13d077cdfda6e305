// Closing a handle through the back-end that gave it out.
#include "manager/backends.h"
#include "manager/listens.h"
#include "manager/scan_suspension.h"
#include "manager/update_hold.h"

#include <nuv/bits.h>
#include <nuv/device_manager.h>
#include <nuv/result.h>

namespace {

unsigned int close_grab(CNuv_device_manager& manager, const char* op, CNuv_grab* grab) {
    const auto recorded = manager.grabdev_list.find(grab);
    if (recorded == manager.grabdev_list.end()) {
        NUV_LOG(manager, NUV_LOG_ERROR, "%s: grabdev %p not found", op, static_cast<void*>(grab));
        return NUV_ERROR_NOT_FOUND;
    }
    const std::uint16_t iftype = recorded->second;
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: grabdev found if_type %d", op, iftype);
    const nuv::Scan_suspension no_scan(manager, iftype);
    CNuv_interface* const backend = nuv::find_backend(manager, iftype);
    if (backend == nullptr) {
        NUV_LOG(manager, NUV_LOG_ERROR, "%s: if_class not found", op);
        return NUV_ERROR_NOT_FOUND;
    }
    const unsigned int result =
        nuv::call_backend(manager, op, [&] { return backend->close_grab_device(grab); });
    if (result == 0) {
        manager.grabdev_list.erase(grab);
    }
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: close and erase from list done size %d err 0x%x", op,
            static_cast<int>(manager.grabdev_list.size()), result);
    return result;
}

unsigned int close_com(CNuv_device_manager& manager, const char* op, CNuv_com* com) {
    const auto recorded = manager.comdev_list.find(com);
    if (recorded == manager.comdev_list.end()) {
        NUV_LOG(manager, NUV_LOG_ERROR, "%s: comdev %p not found", op, static_cast<void*>(com));
        return NUV_ERROR_NOT_FOUND;
    }
    const std::uint16_t iftype = recorded->second;
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: comdev found if_type %d", op, iftype);
    CNuv_interface* const backend = nuv::find_backend(manager, iftype);
    if (backend == nullptr) {
        NUV_LOG(manager, NUV_LOG_ERROR, "%s: if_class not found", op);
        return NUV_ERROR_NOT_FOUND;
    }
    const unsigned int result =
        nuv::call_backend(manager, op, [&] { return backend->close_com_device(com); });
    if (result == 0) {
        manager.comdev_list.erase(com);
    }
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: close and erase from list done size %d err 0x%x", op,
            static_cast<int>(manager.comdev_list.size()), result);
    return result;
}

}  // namespace

unsigned int CNuv_device_manager::close_grab_device(CNuv_grab* grab) {
    static constexpr char op[] = "close_grab_device";
    if (!nuv::check_registry(*this, op)) {
        return NUV_ERROR_NOMEMORY;
    }
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: grabdev %p", op, static_cast<void*>(grab));
    nuv::Update_hold update(*this, op);
    const unsigned int result = close_grab(*this, op, grab);
    update.release();
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: return 0x%x", op, result);
    return result;
}

unsigned int CNuv_device_manager::close_com_device(CNuv_com* com) {
    static constexpr char op[] = "close_com_device";
    if (!nuv::check_registry(*this, op)) {
        return NUV_ERROR_NOMEMORY;
    }
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: comdev %p", op, static_cast<void*>(com));
    nuv::Update_hold update(*this, op);
    const unsigned int result = close_com(*this, op, com);
    update.release();
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: return 0x%x", op, result);
    return result;
}
