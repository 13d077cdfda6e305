// Reading the device list: every operation is one pass under `sem_rw`.
#include "registry/listens.h"
#include "registry/region.h"
#include "registry/sem_hold.h"

#include <nuv/bits.h>
#include <nuv/result.h>

#include <exception>

namespace {

/// Copies the first entry that matches into `out`, whose status was set to 0 before, so that its
/// status tells afterwards whether a device in use was found.
/// \return the entry's index, or -1
template <class Matches>
int copy_entry(const NUV_Devlist_Shm& region, NUV_Device& out, Matches matches) {
    const int index = nuv::find_entry(region, matches);
    if (index >= 0) {
        out = region.nuvdevice[index];
    }
    return index;
}

unsigned int found_in_use(const NUV_Device& out) {
    return out.status_bits != 0 ? NUV_NOERROR : NUV_ERROR_NOT_FOUND;
}

/// Entries that have at least one of the status bits.
int count_with(const NUV_Devlist_Shm& region, std::uint32_t status_bits) {
    int count = 0;
#pragma GCC unroll 16
    for (int index = 0; index < NUV_DEVICE_COUNT; ++index) {
        if ((region.nuvdevice[index].status_bits & status_bits) != 0) {
            ++count;
        }
    }
    return count;
}

int count_in_mode(const NUV_Devlist_Shm& region, int mode) {
    constexpr std::uint32_t any_bit = 0xFFFFFFFF;
    switch (mode) {
        case 1:
            return count_with(region, any_bit);
        case 2:
            return count_with(region, NUV_STATUS_PRESENT);
        case 3:
            return count_with(region, NUV_STATUS_COM_OPEN);
        case 4:
            return NUV_DEVICE_COUNT - count_with(region, any_bit);
        default:
            return 0;
    }
}

}  // namespace

unsigned int CNuv_shm_manager::get_nuvdevice_count(int mode, int& count) {
    static constexpr char op[] = "get_nuvdevice_count";
    if (!nuv::is_attached(*this)) {
        return NUV_ERROR_NOMEMORY;
    }
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: shm->opencount %d processid %d", op, devlist_shm->opencount,
            devlist_shm->processid);
    count = 0;
    const nuv::Sem_hold hold(*sema_rw);
    count = count_in_mode(*devlist_shm, mode);
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: mode %d return count %d", op, mode, count);
    return NUV_NOERROR;
}

unsigned int CNuv_shm_manager::get_nuvdevice_from_id(unsigned int id, NUV_Device& out) {
    static constexpr char op[] = "get_nuvdevice_from_id";
    if (!nuv::is_attached(*this)) {
        return NUV_ERROR_NOMEMORY;
    }
    out.status_bits = 0;
    const nuv::Sem_hold hold(*sema_rw);
    const int index =
        copy_entry(*devlist_shm, out, [id](const NUV_Device& entry) { return entry.id == id; });
    if (index >= 0) {
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: device with id %d serial %d found at %d", op, out.id,
                out.serialnumber, index);
    }
    return found_in_use(out);
}

unsigned int CNuv_shm_manager::get_nuvdevice_from_serialnumber(unsigned int serialnumber,
                                                               NUV_Device& out) {
    static constexpr char op[] = "get_nuvdevice_from_serialnumber";
    if (!nuv::is_attached(*this)) {
        return NUV_ERROR_NOMEMORY;
    }
    out.status_bits = 0;
    const nuv::Sem_hold hold(*sema_rw);
    const int index = copy_entry(*devlist_shm, out, [serialnumber](const NUV_Device& entry) {
        return entry.serialnumber == serialnumber;
    });
    if (index >= 0) {
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: device with id %d serial %d found at %d", op, out.id,
                out.serialnumber, index);
    }
    return found_in_use(out);
}

unsigned int CNuv_shm_manager::get_nuvdevice_from_extendedinfo(unsigned long extended_info,
                                                               NUV_Device& out) {
    static constexpr char op[] = "get_nuvdevice_from_extendedinfo";
    if (!nuv::is_attached(*this)) {
        return NUV_ERROR_NOMEMORY;
    }
    out.status_bits = 0;
    const nuv::Sem_hold hold(*sema_rw);
    const int index = copy_entry(*devlist_shm, out, [extended_info](const NUV_Device& entry) {
        return entry.extended_info == extended_info;
    });
    if (index >= 0) {
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: device with id %d ExtendedInfo %d found at %d", op,
                out.id, static_cast<int>(extended_info), index);
    }
    return found_in_use(out);
}

int CNuv_shm_manager::is_nuvdevice_in_devlist(unsigned int iftype, unsigned int serialnumber) {
    if (!nuv::is_attached(*this)) {
        return 0;
    }
    const nuv::Sem_hold hold(*sema_rw);
    const int index = nuv::find_entry(*devlist_shm, [=](const NUV_Device& entry) {
        return entry.nuv_iftype == iftype && entry.serialnumber == serialnumber;
    });
    return index >= 0 ? 1 : 0;
}

unsigned int CNuv_shm_manager::get_nuvdevice_listentry(int index, NUV_Device& out) {
    static constexpr char op[] = "get_nuvdevice_listentry";
    if (!nuv::is_attached(*this)) {
        return NUV_ERROR_NOMEMORY;
    }
    if (index < 0 || index >= NUV_DEVICE_COUNT) {
        return NUV_ERROR_NOT_FOUND;
    }
    const nuv::Sem_hold hold(*sema_rw);
    out = devlist_shm->nuvdevice[index];
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: device with id %d serial %d found at %d", op, out.id,
            out.serialnumber, index);
    return NUV_NOERROR;
}

unsigned int CNuv_shm_manager::get_nuvdevice_unused(unsigned int iftype, NUV_Device& out) {
    static constexpr char op[] = "get_nuvdevice_unused";
    if (!nuv::is_attached(*this)) {
        return NUV_ERROR_NOMEMORY;
    }
    out.status_bits = 0;
    const nuv::Sem_hold hold(*sema_rw);
    const int index = copy_entry(*devlist_shm, out, [iftype](const NUV_Device& entry) {
        return (iftype == 0 || entry.nuv_iftype == iftype) &&
               (entry.status_bits & NUV_STATUS_UNUSED_MASK) == NUV_STATUS_PRESENT;
    });
    if (index >= 0) {
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: device at nuv_iftype %d serial %d found at %d", op,
                iftype, out.serialnumber, index);
    }
    return found_in_use(out);
}

void CNuv_shm_manager::get_devlist_if(unsigned int iftype, std::vector<NUV_Device>& list) {
    static constexpr char op[] = "get_devlist_if";
    if (!nuv::is_attached(*this)) {
        return;
    }
    try {
        // Room for every entry, so that nothing is allocated while the semaphore is held.
        list.reserve(list.size() + NUV_DEVICE_COUNT);
    } catch (const std::exception&) {
        NUV_LOG(*this, NUV_LOG_ERROR, "%s: no memory for the list of devices", op);
        return;
    }
    const nuv::Sem_hold hold(*sema_rw);
    for (int index = 0; index < NUV_DEVICE_COUNT; ++index) {
        const NUV_Device& entry = devlist_shm->nuvdevice[index];
        if (entry.nuv_iftype == iftype) {
            list.push_back(entry);
            NUV_LOG(*this, NUV_LOG_TRACE,
                    "%s: device with nuv_iftype %d serial %d found in list at %d", op, iftype,
                    list.back().serialnumber, index);
        }
    }
}
