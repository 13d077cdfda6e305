// Which processes of this machine have a region of the registry's name open or mapped, told from
// /proc alone.
#pragma once

#include "process.h"
#include "registry_view.h"

#include <vector>

namespace nuvctl {

/// One process and one region; a process on two regions comes twice.
struct Region_user {
    Process process;
    dev_t device = 0;
    ino_t inode = 0;
    /// The region's name was removed: newcomers will not find it.
    bool deleted = false;
    /// The region lies in another /dev/shm than ours, as in a container.
    bool elsewhere = false;
    /// Of "mnt", "ipc" and "pid", those in which the process is not in our namespace.
    std::vector<std::string> other_namespaces;
    /// Writable mappings. Each attached registry manager has one of its own, so this is what the
    /// process adds to the region's `opencount`. A process with none only looks.
    int managers = 0;
    /// Descriptors, and how many of them carry the lock of an attached manager.
    int descriptors = 0;
    int presence_locks = 0;
    /// It has the lock that goes with `sem_update`: it holds the semaphore, or is about to.
    bool has_update_lock = false;
};

struct Region_users {
    std::vector<Region_user> users;  ///< by ascending process id, without this process
    int unexamined = 0;              ///< processes that may not be examined
    int unexamined_sharing = 0;  ///< those of them that share memory, which an attached one does
    /// /proc does not list every process to this user: more may be there than are counted.
    bool some_hidden = false;
    /// The system had no descriptor or memory left to look with: users may be missing, for root
    /// too.
    bool incomplete = false;
};

Region_users find_region_users();

/// Whether the user is on the region that the view shows, which is the one with the name.
bool is_on(const Region_user& user, const Registry_view& view);

/// Whether the user is on a region of this /dev/shm that newcomers do not find by its name; false
/// when it is not known what has the name.
bool is_cut_off(const Region_user& user, const Registry_view& view);

/// Attached managers on the view's region, over all processes that could be examined.
int managers_on(const Region_users& found, const Registry_view& view);

}  // namespace nuvctl
