#include "semaphore_look.h"

#include <chrono>
#include <thread>

namespace nuvctl {
namespace {

Semaphore_look judge(const char* name, int first_value, int later_value) {
    if (first_value > 0) {
        return {name, later_value, Semaphore_state::free};
    }
    return {name, later_value,
            later_value > 0 ? Semaphore_state::held_briefly : Semaphore_state::held};
}

}  // namespace

std::vector<Semaphore_look> look_at_semaphores(const Registry_view& view) {
    const int rw = value_of(view.bytes->sem_rw);
    const int update = value_of(view.bytes->sem_update);
    int later_rw = rw;
    int later_update = update;
    if (rw == 0 || update == 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        const Registry_view later = look_at_registry();
        if (later.bytes && later.file->st_ino == view.file->st_ino) {
            later_rw = value_of(later.bytes->sem_rw);
            later_update = value_of(later.bytes->sem_update);
        }
    }
    return {judge("sem_rw", rw, later_rw), judge("sem_update", update, later_update)};
}

}  // namespace nuvctl
