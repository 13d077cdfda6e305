// Reaching back-ends and the registry from the manager's operations.
#pragma once

#include "manager/listens.h"
#include "registry/region.h"

#include <nuv/device_manager.h>
#include <nuv/iftype.h>
#include <nuv/result.h>

#include <exception>

namespace nuv {

/// Whether `Initialize` has attached the registry, so that there are semaphores to take. A forked
/// child has none.
inline bool has_registry(const CNuv_device_manager& manager) {
    return manager.shm_mgr != nullptr && is_attached(*manager.shm_mgr);
}

/// The same, for an operation that cannot do without; says so in the log.
inline bool check_registry(CNuv_device_manager& manager, const char* op) {
    if (!has_registry(manager)) {
        NUV_LOG(manager, NUV_LOG_ERROR, "%s: not attached to the registry", op);
        return false;
    }
    return true;
}

/// Null when the type has no back-end, or `Close` has deleted it.
inline CNuv_interface* find_backend(const CNuv_device_manager& manager, std::uint16_t iftype) {
    const auto found = manager.interface_list.find(iftype);
    return found != manager.interface_list.end() ? found->second.get() : nullptr;
}

inline const char* display_name(std::uint16_t iftype) {
    return iftype < NUV_IFTYPE_COUNT ? iftype_names[iftype] : iftype_names[NUV_IFTYPE_UNDEFINED];
}

/// Calls a back-end, which may be anybody's: what it throws becomes a result code.
template <class Call>
unsigned int call_backend(CNuv_device_manager& manager, const char* op, Call call) {
    try {
        return call();
    } catch (const std::exception& thrown) {
        NUV_LOG(manager, NUV_LOG_ERROR, "%s: back-end threw %s", op, thrown.what());
    } catch (...) {
        NUV_LOG(manager, NUV_LOG_ERROR, "%s: back-end threw", op);
    }
    return NUV_ERROR_NOMEMORY;
}

}  // namespace nuv
