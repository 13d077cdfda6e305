// Changing the device list: every operation is one pass under `sem_rw`.
#include "registry/listens.h"
#include "registry/region.h"
#include "registry/sem_hold.h"

#include <nuv/bits.h>
#include <nuv/result.h>

#include <cstring>

namespace {

/// Ends the caller's text within its 64 bytes, and copies all of them.
void copy_name(char* destination, char* name) {
    name[NUV_NAME_SIZE - 1] = '\0';
    std::memcpy(destination, name, NUV_NAME_SIZE);
}

/// Lets `change` edit the first entry with that serial number, while `sem_rw` is held.
template <class Change>
unsigned int change_entry(CNuv_shm_manager& manager, unsigned int serialnumber, Change change) {
    if (!nuv::is_attached(manager)) {
        return NUV_ERROR_NOMEMORY;
    }
    const nuv::Sem_hold hold(*manager.sema_rw);
    const int index = nuv::find_entry(*manager.devlist_shm, [=](const NUV_Device& entry) {
        return entry.serialnumber == serialnumber;
    });
    if (index < 0) {
        return NUV_ERROR_NOT_FOUND;
    }
    change(manager.devlist_shm->nuvdevice[index]);
    return NUV_NOERROR;
}

/// A missing name is told only by who is attached.
unsigned int refuse_null_name(const CNuv_shm_manager& manager) {
    return nuv::is_attached(manager) ? NUV_ERROR_NOT_FOUND : NUV_ERROR_NOMEMORY;
}

}  // namespace

unsigned int CNuv_shm_manager::get_next_id(unsigned int& id) {
    static constexpr char op[] = "get_next_id";
    if (!nuv::is_attached(*this)) {
        return NUV_ERROR_NOMEMORY;
    }
    const nuv::Sem_hold hold(*sema_rw);
    id = devlist_shm->id_counter;
    devlist_shm->id_counter = id + 1;
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: id %d", op, id);
    return NUV_NOERROR;
}

unsigned int CNuv_shm_manager::set_nuvdevice_to_free_listentry(NUV_Device device) {
    static constexpr char op[] = "set_nuvdevice_to_free_listentry";
    if (!nuv::is_attached(*this)) {
        return NUV_ERROR_NOMEMORY;
    }
    nuv::Sem_hold hold(*sema_rw);
    const int index = nuv::find_entry(*devlist_shm, [](const NUV_Device& entry) {
        return entry.id == 0 && entry.serialnumber == 0;
    });
    if (index < 0) {
        hold.release();
        NUV_LOG(*this, NUV_LOG_ERROR, "%s: no free listentry found", op);
        return NUV_ERROR_NOMEMORY;
    }
    devlist_shm->nuvdevice[index] = device;
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: list at %d", op, index);
    return NUV_NOERROR;
}

unsigned int CNuv_shm_manager::add_status_bits_to_nuvdevice_from_serialnumber(
    unsigned int serialnumber, unsigned int bits) {
    static constexpr char op[] = "add_status_bits_to_nuvdevice_from_serialnumber";
    return change_entry(*this, serialnumber, [&](NUV_Device& entry) {
        entry.status_bits |= bits;
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: device with id %d serial %d status bits 0x%x added", op,
                entry.id, entry.serialnumber, bits);
    });
}

unsigned int CNuv_shm_manager::remove_status_bits_to_nuvdevice_from_serialnumber(
    unsigned int serialnumber, unsigned int bits) {
    static constexpr char op[] = "remove_status_bits_to_nuvdevice_from_serialnumber";
    return change_entry(*this, serialnumber, [&](NUV_Device& entry) {
        entry.status_bits &= ~bits;
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: device with id %d serial %d status bits 0x%x removed",
                op, entry.id, entry.serialnumber, bits);
    });
}

unsigned int CNuv_shm_manager::update_interfacename_of_nuvdevice_from_serialnumber(
    unsigned int serialnumber, char* name) {
    static constexpr char op[] = "update_interfacename_of_nuvdevice_from_serialnumber";
    if (name == nullptr) {
        return refuse_null_name(*this);
    }
    return change_entry(*this, serialnumber, [&](NUV_Device& entry) {
        copy_name(entry.interfacename, name);
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: device with id %d serial %d new interfce name %s", op,
                entry.id, entry.serialnumber, name);
    });
}

unsigned int CNuv_shm_manager::update_cameraname_of_nuvdevice_from_serialnumber(
    unsigned int serialnumber, char* name) {
    static constexpr char op[] = "update_cameraname_of_nuvdevice_from_serialnumber";
    if (name == nullptr) {
        return refuse_null_name(*this);
    }
    return change_entry(*this, serialnumber, [&](NUV_Device& entry) {
        copy_name(entry.cameraname, name);
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: device with id %d serial %d new camera name %s", op,
                entry.id, entry.serialnumber, name);
    });
}

void CNuv_shm_manager::set_extended_info(unsigned int iftype, unsigned int serialnumber,
                                         unsigned long extended_info) {
    if (!nuv::is_attached(*this)) {
        return;
    }
    const nuv::Sem_hold hold(*sema_rw);
    const int index = nuv::find_entry(*devlist_shm, [=](const NUV_Device& entry) {
        return entry.nuv_iftype == iftype && entry.serialnumber == serialnumber;
    });
    if (index >= 0) {
        devlist_shm->nuvdevice[index].extended_info = extended_info;
    }
}
