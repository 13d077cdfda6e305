// The manager object itself: defaults, log, general bits, and the process's global.
#include "manager/listens.h"

#include <nuv/bits.h>
#include <nuv/device_manager.h>

#include <nuvkit/ini.h>
#include <nuvkit/log.h>

std::unique_ptr<CNuv_device_manager> nuv_dev_manager;

CNuv_device_manager::CNuv_device_manager() {
    interface_options[NUV_IFTYPE_ME4] = DEVMGR_IF_OPTION_DISABLE_SCAN;
}

void CNuv_device_manager::SetLog(CNuv_Log* log) {
    static constexpr char op[] = "SetLog";
    nuv::relaxed_store(clog, log);
    if (log != nullptr) {
        const unsigned int logbits = log->get_logbits();
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: clog %p loglevel 0x%x", op, static_cast<void*>(log),
                logbits);
    }
}

unsigned int CNuv_device_manager::set_general_bits(unsigned int bits) {
    nuv::relaxed_store(m_general_bits, bits);
    return 0;
}

unsigned int CNuv_device_manager::add_general_bits(unsigned int bits) {
    nuv::relaxed_set_bits(m_general_bits, bits);
    return 0;
}

unsigned int CNuv_device_manager::remove_general_bits(unsigned int bits) {
    nuv::relaxed_clear_bits(m_general_bits, bits);
    return 0;
}

void CNuv_device_manager::writelog(unsigned int level, const char* format, ...) {
    CNuv_Log* const log = nuv::listener(*this);
    if (log == nullptr) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    const nuv::Log_line line("CNuv_dev_manager::", format, arguments);
    va_end(arguments);
    line.hand_to(*log, level, NUV_BIT_LOG_DEVICE_MANAGER);
}
