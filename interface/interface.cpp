#include "interface/log_line.h"
#include "registry/region.h"
#include "registry/relaxed.h"
#include "registry/sem_hold.h"

#include <nuv/bits.h>
#include <nuv/interface.h>

#include <nuvkit/ini.h>
#include <nuvkit/log.h>

#include <cstring>

namespace nuv {

static bool listens(const CNuv_interface& interface) {
    return interface.ciflog != nullptr ||
           (relaxed_load(interface.clog) != nullptr &&
            (relaxed_load(interface.general_bits) & NUV_BIT_LOG_INTERFACE) != 0);
}

}  // namespace nuv

namespace {

constexpr unsigned int source_of(unsigned short iftype) {
    return NUV_BIT_LOG_INTERFACE + (static_cast<unsigned int>(iftype) << 16U);
}

/// A copy of a name from the region, which need not end within its 64 bytes there.
class Name_copy {
public:
    explicit Name_copy(const char* name) { std::memcpy(characters, name, NUV_NAME_SIZE); }
    const char* text() const { return characters; }

private:
    char characters[NUV_NAME_SIZE + 1] = {};
};

/// Gives up the entry's device; its mark and the back-end's key stay.
void clear_entry(NUV_Device& entry) {
    NUV_Device cleared{};
    cleared.entry_mark = entry.entry_mark;
    cleared.extended_info = entry.extended_info;
    entry = cleared;
}

void clear_device_numbers(CNuv_interface& interface, const char* op, std::uint32_t id) {
    NUV_Devlist_Shm& region = *interface.shm_mgr->devlist_shm;
    for (int index = 0; index < NUV_DEVICE_COUNT; ++index) {
        if (region.nuv_num_list[index] == id) {
            region.nuv_num_list[index] = 0;
            NUV_LOG_BY(writelogb, interface, NUV_LOG_TRACE,
                       "%s: found nuv_num_list[%d] with nuv_num %d", op, index, id);
        }
    }
}

}  // namespace

CNuv_interface::CNuv_interface(CNuv_Log* log, unsigned int bits)
    : difftime_out((bits & NUV_BIT_DIFFTIME_OUT) != 0),
      clog(log),
      general_bits(bits & ~NUV_BIT_DIFFTIME_OUT) {
    static constexpr char op[] = "CNuv_interface";
    NUV_LOG_BY(writelogb, *this, NUV_LOG_TRACE,
               "%s: create Nuv_shm_manager for CNuv_interface 0x%x", op, general_bits);
    shm_mgr = std::make_unique<CNuv_shm_manager>(clog, general_bits);
    shm_mgr->Initialize();
}

CNuv_interface::~CNuv_interface() {
    static constexpr char op[] = "~CNuv_interface";
    NUV_LOG_BY(writelogb, *this, NUV_LOG_TRACE, "%s: delete shm_mgr of CNuv_interface", op);
    shm_mgr.reset();
    cini.reset();
}

void CNuv_interface::SetLog(CNuv_Log* log) {
    static constexpr char op[] = "SetLog";
    nuv::relaxed_store(clog, log);
    if (log != nullptr) {
        const unsigned int logbits = log->get_logbits();
        NUV_LOG_BY(writelogb, *this, NUV_LOG_TRACE, "%s: clog %p loglevel 0x%x", op,
                   static_cast<void*>(log), logbits);
    }
}

int CNuv_interface::set_general_bits(unsigned int bits) {
    nuv::relaxed_store(general_bits, bits);
    return 0;
}

bool CNuv_interface::shm_valid() {
    return shm_mgr != nullptr && shm_mgr->devlist_shm != nullptr;
}

int CNuv_interface::shm_wait() {
    return shm_valid() ? shm_mgr->sema_rw->wait() : -1;
}

int CNuv_interface::shm_post() {
    return shm_valid() ? shm_mgr->sema_rw->post() : -1;
}

unsigned short CNuv_interface::shm_increase_opencount(unsigned short iftype) {
    return shm_mgr->increase_opencount(iftype);
}

unsigned short CNuv_interface::shm_decrease_opencount(unsigned short iftype) {
    return shm_mgr->decrease_opencount(iftype);
}

int CNuv_interface::delete_devices_in_shmlist() {
    static constexpr char op[] = "delete_devices_in_shmlist";
    if (shm_valid()) {
        const nuv::Sem_hold hold(*shm_mgr->sema_rw);
        for (int index = 0; index < NUV_DEVICE_COUNT; ++index) {
            NUV_Device& entry = shm_mgr->devlist_shm->nuvdevice[index];
            if (entry.nuv_iftype == if_type) {
                NUV_LOG_BY(writelogb, *this, NUV_LOG_TRACE,
                           "%s: found nuvdevice[%d] with id %d for %s", op, index, entry.id,
                           Name_copy(entry.interfacename).text());
                clear_device_numbers(*this, op, entry.id);
                clear_entry(entry);
            }
        }
    }
    NUV_LOG_BY(writelogb, *this, NUV_LOG_TRACE, "%s: end", op);
    return 0;
}

void CNuv_interface::writelogb(unsigned int level, const char* format, ...) {
    if (!nuv::listens(*this)) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    const nuv::Log_line line(
        ciflog != nullptr ? "CNuv_interface_cif::" : "CNuv_interface::", format, arguments);
    va_end(arguments);
    const unsigned int source = source_of(if_type);
    if (ciflog != nullptr) {
        line.hand_to(*ciflog, level, source);
    }
    if (CNuv_Log* const log = nuv::relaxed_load(clog)) {
        line.hand_to(*log, level, source);
    }
}
