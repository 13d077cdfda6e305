// The option words of the interface types.
#include "manager/backends.h"
#include "manager/listens.h"
#include "manager/update_hold.h"

#include <nuv/bits.h>
#include <nuv/device_manager.h>
#include <nuv/result.h>

namespace {

bool has_word(int iftype) {
    return iftype >= 0 && iftype < static_cast<int>(NUV_IFTYPE_COUNT);
}

}  // namespace

unsigned int CNuv_device_manager::get_interface_options(int iftype) {
    return has_word(iftype) ? nuv::relaxed_load(interface_options[iftype]) : 0;
}

unsigned int CNuv_device_manager::add_interface_option(int iftype, unsigned int bits) {
    static constexpr char op[] = "add_interface_option";
    if (has_word(iftype)) {
        nuv::relaxed_set_bits(interface_options[iftype], bits);
    }
    if ((bits & DEVMGR_IF_OPTION_DISABLE_SCAN) != 0 && nuv::has_registry(*this)) {
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: DEVMGR_IF_OPTION_DISABLE_SCAN for iftype %d synchronize",
                op, iftype);
        // A pass holds it throughout: when it is free, no pass that read the old word still runs.
        nuv::Update_hold update(*this, op);
        if (has_word(iftype)) {
            // An open or close that had scanning suspended has taken the bit for its own.
            nuv::relaxed_set_bits(interface_options[iftype], bits);
        }
        update.release();
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: synchronize done", op);
    }
    return NUV_NOERROR;
}

unsigned int CNuv_device_manager::remove_interface_option(int iftype, unsigned int bits) {
    if (has_word(iftype)) {
        nuv::relaxed_clear_bits(interface_options[iftype], bits);
    }
    return NUV_NOERROR;
}
