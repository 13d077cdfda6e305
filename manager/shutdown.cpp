// `Close` and the destructor: threads, open devices, back-ends, and at the end the registry and
// log.
#include "manager/listens.h"

#include <nuv/bits.h>
#include <nuv/device_manager.h>

#include <nuvkit/ini.h>
#include <nuvkit/log.h>

#include <atomic>
#include <chrono>
#include <new>
#include <thread>

namespace {

using namespace std::chrono_literals;

/// After which devices that were left open are closed whether others scan, open and close or not.
constexpr auto longest_wait = 10s;

/// Closes what callers left open. A device whose close fails stays recorded.
template <class Handle>
void close_left_open(CNuv_device_manager& manager, const char* op,
                     std::unordered_map<Handle*, std::uint16_t>& list,
                     unsigned int (CNuv_device_manager::*close)(Handle*)) {
    try {
        // Closing changes the list. NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
        const std::unordered_map<Handle*, std::uint16_t> left_open = list;
        for (const auto& [handle, iftype] : left_open) {
            (manager.*close)(handle);
            if (list.empty()) {
                return;
            }
        }
    } catch (const std::bad_alloc&) {
        NUV_LOG(manager, NUV_LOG_ERROR, "%s: out of memory, devices stay open", op);
    }
}

void close_left_open_devices(CNuv_device_manager& manager, const char* op) {
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: found grabdev list size %d", op,
            static_cast<int>(manager.grabdev_list.size()));
    if (!manager.grabdev_list.empty()) {
        NUV_LOG(manager, NUV_LOG_ERROR, "%s: found not closed devices in grabdev list", op);
        close_left_open(manager, op, manager.grabdev_list, &CNuv_device_manager::close_grab_device);
    }
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: found comdev list size %d", op,
            static_cast<int>(manager.comdev_list.size()));
    if (!manager.comdev_list.empty()) {
        NUV_LOG(manager, NUV_LOG_ERROR, "%s: found not closed devices in comdev list", op);
        close_left_open(manager, op, manager.comdev_list, &CNuv_device_manager::close_com_device);
    }
}

/// The keys stay, with empty owners.
void delete_backends(CNuv_device_manager& manager, const char* op) {
    const int count = static_cast<int>(manager.interface_list.size());
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: found interface list size %d", op, count);
    if (count == 0) {
        return;
    }
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: found %d interfaces in list", op, count);
    for (auto& [iftype, backend] : manager.interface_list) {
        NUV_LOG(manager, NUV_LOG_TRACE, "%s: delete interface %d", op, iftype);
        backend.reset();
        std::this_thread::sleep_for(20ms);
    }
}

/// What `Close` and the destructor have in common.
void shut_down(CNuv_device_manager& manager, const char* op, std::chrono::milliseconds pause,
               std::atomic<std::chrono::steady_clock::time_point>& shutdown_due) {
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: ", op);
    manager.stop_threads();
    // Not before: a running pass may take longer.
    shutdown_due = std::chrono::steady_clock::now() + longest_wait;
    close_left_open_devices(manager, op);
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: before sleep", op);
    std::this_thread::sleep_for(pause);
    delete_backends(manager, op);
}

}  // namespace

void CNuv_device_manager::Close() {
    shut_down(*this, "Close", 20ms, shutdown_due);
    shutdown_due = std::chrono::steady_clock::time_point::max();
}

CNuv_device_manager::~CNuv_device_manager() {
    static constexpr char op[] = "~CNuv_device_manager";
    shut_down(*this, op, 100ms, shutdown_due);
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: delete shm_mgr of CNuv_device_manager", op);
    shm_mgr.reset();
    if (cdevlog != nullptr) {
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: delete cdevlog", op);
        delete cdevlog;
        cdevlog = nullptr;
    }
}
