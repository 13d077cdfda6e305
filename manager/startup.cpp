// `Initialize`: log and locator, configuration, registry, back-ends, threads.
#include "manager/backend_table.h"
#include "manager/build_date.h"
#include "manager/listens.h"

#include <nuv/bits.h>
#include <nuv/device_manager.h>
#include <nuv/result.h>

#include <nuvkit/ini.h>
#include <nuvkit/log.h>

#include <chrono>
#include <thread>
#include <utility>

namespace {

/// The locator, and the manager's own log if the INI settings ask for one.
void create_locator_and_log(CNuv_device_manager& manager, const char* op) {
    manager.cini = std::make_unique<CNuv_ini>("nuv_devicemgr");
    manager.cdevlog = manager.cini->create_log_from_ini();
    if (manager.cdevlog != nullptr) {
        manager.cdevlog->set_lib_vers("nuv_usb", "2,1,0,38", nuv::build_date);
        NUV_LOG(manager, NUV_LOG_TRACE, "%s: loglevel 0x%x", op, manager.cdevlog->get_logbits());
    }
}

/// A stale registry is attached all the same; the back-ends learn of it through a general bit.
unsigned int attach_registry(CNuv_device_manager& manager, const char* op) {
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: create CNuv_shm_manager for CNuv_device_manager", op);
    manager.shm_mgr = std::make_unique<CNuv_shm_manager>(manager.cdevlog, manager.m_general_bits);
    manager.remove_general_bits(NUV_BIT_DIFFTIME_OUT);
    const unsigned int result = manager.shm_mgr->Initialize();
    if (result == NUV_DIFFTIME_OUT) {
        manager.add_general_bits(NUV_BIT_DIFFTIME_OUT);
        NUV_LOG(manager, NUV_LOG_TRACE, "%s: shm_mgr returned DIFFTIME_OUT m_general_bits 0x%x", op,
                manager.m_general_bits);
        return NUV_NOERROR;
    }
    if (result != NUV_NOERROR) {
        NUV_LOG(manager, NUV_LOG_ERROR,
                "%s: shm_mgr Initialize returned with error. Cannot create shm.", op);
    }
    return result;
}

void create_backend(CNuv_device_manager& manager, const char* op, const nuv::Backend_row& row) {
    if ((manager.get_interface_options(row.iftype) & DEVMGR_IF_OPTION_DISABLE) != 0) {
        NUV_LOG(manager, NUV_LOG_TRACE, "%s: %s disabled", op, row.class_name);
        return;
    }
    if (row.announced) {
        NUV_LOG(manager, NUV_LOG_TRACE, "%s: create %s", op, row.class_name);
    }
    std::unique_ptr<CNuv_interface> backend =
        row.create(manager.cdevlog, manager.m_general_bits & NUV_BITS_FOR_BACKENDS);
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: %s %s created", op, row.class_name, row.instance_name);
    if (const unsigned int error = backend->initialize(); error != 0) {
        NUV_LOG(manager, NUV_LOG_TRACE, "%s: %s initialize failed 0x%x", op, row.class_name, error);
        return;
    }
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: %s initialize done", op, row.class_name);
    manager.interface_list[row.iftype] = std::move(backend);
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: %s moved to map", op, row.class_name);
}

/// A scan period of up to a quarter of the tolerance keeps the heartbeat fresh by itself.
void start_threads(CNuv_device_manager& manager, const char* op) {
    if ((manager.m_general_bits & NUV_BIT_SCAN_OFF) != 0) {
        manager.start_time_thread();
        NUV_LOG(manager, NUV_LOG_TRACE, "%s: interface scanning disabled", op);
        return;
    }
    constexpr std::uint64_t quarter_in_ms = 250;
    const std::uint64_t longest_alone = quarter_in_ms * manager.difftime;
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: start interface scanning", op);
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: scantime %d  %d", op, manager.scantime,
            static_cast<int>(longest_alone));
    manager.start_scan_thread();
    if (manager.scantime > longest_alone) {
        manager.start_time_thread();
    }
}

}  // namespace

unsigned int CNuv_device_manager::Initialize() {
    static constexpr char op[] = "Initialize";
    if (cini == nullptr) {
        create_locator_and_log(*this, op);
    }
    if (m_general_bits != 0) {
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: general_bits found 0x%x", op, m_general_bits);
    }
    if (init_done) {
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: init already done for this instance", op);
        return NUV_ERROR_INIT;
    }
    if (get_parameter_from_inifile() == NUV_NOERROR) {
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: general_bits from inifile 0x%x", op, m_general_bits);
    }
    if (const unsigned int error = attach_registry(*this, op); error != NUV_NOERROR) {
        return error;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: create enabled interfaces", op);
    for (const nuv::Backend_row& row : nuv::backend_table) {
        create_backend(*this, op, row);
    }
    start_threads(*this, op);
    init_done = true;
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: return always NUV_NOERROR", op);
    return NUV_NOERROR;
}
