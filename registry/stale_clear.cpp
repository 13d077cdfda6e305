#include "registry/stale_clear.h"

#include "registry/listens.h"
#include "registry/region.h"
#include "registry/semaphore_bytes.h"
#include "registry/sliced_wait.h"

#include <unistd.h>

#include <cstring>

namespace nuv {

void clear_stale_registry(CNuv_shm_manager& manager, NUV_Devlist_Shm* region, const char* op) {
    NUV_LOG(manager, NUV_LOG_ERROR, "%s: clear list of devices", op);
    // Down to 0 before the one post below, also after posts of a holder that came back to life.
    take_surplus_posts(sem_rw_of(region));
    region->opencount = 0;
    std::memset(static_cast<void*>(region->nuvdevice), 0, sizeof region->nuvdevice);
    std::memset(static_cast<void*>(region->if_opencount), 0, sizeof region->if_opencount);
    std::memset(static_cast<void*>(region->nuv_num_list), 0, sizeof region->nuv_num_list);
    region->id_counter = 1;
    region->processid = getpid();
    NUV_LOG(manager, NUV_LOG_TRACE, "%s: shm opencount %d processid %d id_counter %d", op,
            region->opencount, region->processid, region->id_counter);
    store_time_stamp(region, wall_clock_seconds());
    mend_semaphore(sem_rw_of(region));
    sem_post(sem_rw_of(region));
}

}  // namespace nuv
