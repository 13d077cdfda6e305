#include "semaphore_look.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <thread>

namespace nuvctl {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// The region of the view, opened again to look on; nothing more is seen of one that was replaced.
class Onlooker {
public:
    explicit Onlooker(const Registry_view& view) : region(open_registry()) {
        struct stat file;
        same = fstat(region.number, &file) == 0 && file.st_ino == view.file->st_ino &&
               file.st_dev == view.file->st_dev;
    }

    bool look(Semaphore_look& semaphore, std::size_t offset) const {
        sem_t copy;
        if (!same || pread(region.number, &copy, sizeof copy, static_cast<off_t>(offset)) !=
                         static_cast<ssize_t>(sizeof copy)) {
            return false;
        }
        semaphore.value = value_of(copy);
        if (semaphore.value > 0 && semaphore.state == Semaphore_state::held) {
            semaphore.state = Semaphore_state::held_briefly;
        }
        return true;
    }

    Lock_state update_lock() const {
        return same ? lock_on(region.number, NUV_SHM_UPDATE_BYTE) : Lock_state::unknown;
    }

private:
    const Descriptor region;
    bool same = false;
};

Semaphore_look first_look(const char* name, sem_t copy) {
    const int value = value_of(copy);
    return {name, value, value > 0 ? Semaphore_state::free : Semaphore_state::held};
}

}  // namespace

bool is_held(const Semaphore_look& look) {
    return look.state == Semaphore_state::held;
}

Semaphores look_at_semaphores(const Registry_view& view, milliseconds watch) {
    Semaphores seen;
    seen.rw = first_look("sem_rw", view.bytes->sem_rw);
    seen.update = first_look("sem_update", view.bytes->sem_update);
    const Onlooker onlooker(view);
    const auto start = steady_clock::now();
    bool in_sight = true;
    while (in_sight && (is_held(seen.rw) || is_held(seen.update)) && seen.watched < watch) {
        std::this_thread::sleep_for(milliseconds(5));
        in_sight = onlooker.look(seen.rw, offsetof(NUV_Devlist_Shm, sem_rw)) &&
                   onlooker.look(seen.update, offsetof(NUV_Devlist_Shm, sem_update));
        seen.watched = std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
    }
    seen.lock = onlooker.update_lock();
    if (const std::int64_t age = heartbeat_age(view); is_held(seen.rw) && age >= 0) {
        seen.rw_held_at_most = age + (seen.watched.count() + 999) / 1000;
    }
    return seen;
}

}  // namespace nuvctl
