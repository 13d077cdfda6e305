// How many back-ends of each interface type use the registry, over all processes.
#include "registry/listens.h"
#include "registry/region.h"
#include "registry/sem_hold.h"

#include <nuv/bits.h>
#include <nuv/result.h>

namespace {

/// The first slot of that type, or -1; the slots of type 0 are the free ones.
int find_slot(const NUV_Devlist_Shm& region, unsigned short iftype) {
    for (int index = 0; index < NUV_IF_OPENCOUNT_SLOTS; ++index) {
        if (region.if_opencount[index].InterfaceType == iftype) {
            return index;
        }
    }
    return -1;
}

}  // namespace

unsigned short CNuv_shm_manager::increase_opencount(unsigned short iftype) {
    static constexpr char op[] = "increase_opencount";
    if (!nuv::is_attached(*this)) {
        return NUV_COUNT_NOT_ATTACHED;
    }
    const nuv::Sem_hold hold(*sema_rw);
    unsigned short count = 0;
    if (const int found = find_slot(*devlist_shm, iftype); found >= 0) {
        NUV_If_opencount& slot = devlist_shm->if_opencount[found];
        count = static_cast<unsigned short>(slot.opencount + 1);
        slot.opencount = count;
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: InterfaceType %d found opencount now %d", op, iftype,
                count);
    } else {
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: InterfaceType %d not found create entry", op, iftype);
        if (const int unused = find_slot(*devlist_shm, 0); unused >= 0) {
            count = 1;
            devlist_shm->if_opencount[unused] = {iftype, count};
        }
    }
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: return count %d", op, count);
    return count;
}

unsigned short CNuv_shm_manager::decrease_opencount(unsigned short iftype) {
    static constexpr char op[] = "decrease_opencount";
    if (!nuv::is_attached(*this)) {
        return NUV_COUNT_NOT_ATTACHED;
    }
    const nuv::Sem_hold hold(*sema_rw);
    unsigned short count = 0;
    if (const int found = find_slot(*devlist_shm, iftype); found >= 0) {
        NUV_If_opencount& slot = devlist_shm->if_opencount[found];
        count = static_cast<unsigned short>(slot.opencount - 1);
        slot.opencount = count;
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: InterfaceType %d found opencount now %d", op, iftype,
                count);
        if (count == 0) {
            slot = {0, 0};
        }
    }
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: return count %d", op, count);
    return count;
}
