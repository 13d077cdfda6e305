// The scan thread's passes, and the scan of one interface at once.
#include "manager/backends.h"
#include "manager/listens.h"
#include "manager/update_hold.h"

#include <nuv/bits.h>
#include <nuv/device_manager.h>
#include <nuv/result.h>

#include <chrono>

namespace {

void scan_backend(CNuv_device_manager& manager, const char* op, std::uint16_t iftype,
                  CNuv_interface& backend) {
    const char* const name = nuv::display_name(iftype);
    if ((manager.get_interface_options(iftype) & DEVMGR_IF_OPTION_DISABLE_SCAN) != 0) {
        NUV_LOG(manager, NUV_LOG_TRACE, "%s: scan is disabled for %s (%d)", op, name, iftype);
        return;
    }
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: call update_devices_in_shmlist() for %s (%d)", op, name,
            iftype);
    const unsigned int result =
        nuv::call_backend(manager, op, [&backend] { return backend.update_devices_in_shmlist(); });
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: update_devices_in_shmlist() returned %d", op, result);
}

/// While a pass waits, the time-stamp thread waits for it: so the pass keeps the heartbeat. A pass
/// that is no longer wanted does not wait for the semaphore.
bool refresh_and_go_on(CNuv_device_manager& manager, std::chrono::milliseconds waited) {
    using namespace std::chrono_literals;
    if (waited >= 1s) {
        manager.shm_mgr->update_time_stamp();
    }
    return manager.thread_scan_run || waited < 2s;
}

/// Every back-end in turn, while no other process scans, opens or closes.
void scan_all(CNuv_device_manager& manager, const char* op) {
    const nuv::Update_hold update(manager, op, refresh_and_go_on);
    if (!update.is_acquired() && !manager.thread_scan_run) {
        return;
    }
    NUV_LOG(manager, NUV_LOG_CYCLE, "%s: sema_update wait done", op);
    for (const auto& [iftype, backend] : manager.interface_list) {
        if (backend != nullptr) {
            scan_backend(manager, op, iftype, *backend);
        }
    }
}

}  // namespace

void CNuv_device_manager::scan_interfaces_thread() {
    static constexpr char op[] = "scan_interfaces_thread";
    NUV_LOG(*this, NUV_LOG_THREAD, "%s: start", op);
    while (thread_scan_run) {
        NUV_LOG(*this, NUV_LOG_CYCLE, "%s: before wait_for mtx %d", op, scantime);
        std::unique_lock<std::mutex> lock(mtx);
        cv.wait_for(lock, std::chrono::milliseconds(nuv::relaxed_load(scantime)));
        if (!thread_scan_run) {
            NUV_LOG(*this, NUV_LOG_TRACE, "%s: thread_run false break_loop", op);
            break;
        }
        shm_mgr->update_time_stamp();
        scan_all(*this, op);
    }
    NUV_LOG(*this, NUV_LOG_THREAD, "%s: before return", op);
}

unsigned int CNuv_device_manager::scan_interface(unsigned int iftype) {
    static constexpr char op[] = "scan_interface";
    if (iftype >= NUV_IFTYPE_COUNT) {
        return NUV_ERROR_NOT_FOUND;
    }
    const auto type = static_cast<std::uint16_t>(iftype);
    CNuv_interface* const backend = nuv::find_backend(*this, type);
    if (backend == nullptr) {
        return NUV_ERROR_NOT_FOUND;
    }
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: call update_devices_in_shmlist() for %s (%d)", op,
            nuv::display_name(type), type);
    const unsigned int result =
        nuv::call_backend(*this, op, [backend] { return backend->update_devices_in_shmlist(); });
    NUV_LOG(*this, NUV_LOG_CYCLE, "%s: update_devices_in_shmlist() returned %d", op, result);
    return result;
}
