// The descriptor and the mapping through which one manager reaches the region.
#pragma once

#include "registry/rw_watch.h"
#include "registry/update_lock.h"

#include <nuv/shm_manager.h>

#include <sys/types.h>

#include <cstddef>
#include <optional>

namespace nuv {

/// A copy of a descriptor has the locks of the process that it was copied from.
enum class Locks { own, of_another_process };

/// Owns both. A fork hands copies of them to the child, which would keep a dead parent's locks
/// alive: so every attachment of the process is in a list, and the child closes and unmaps what it
/// finds there before `fork` returns. Its managers are then not attached.
class Attachment {
public:
    Attachment();
    Attachment(const Attachment&) = delete;
    Attachment& operator=(const Attachment&) = delete;
    ~Attachment();

    /// Whether the region's name can be opened; false leaves the reason in `errno`. No fork comes
    /// while it is open.
    static bool can_open();
    /// Opens it; false leaves the reason in `errno`.
    bool open(int flags);
    /// Maps the whole region; false leaves the reason in `errno`.
    bool map();
    void unmap();
    /// Closes the descriptor. The locks are dropped all at once: after the gate alone, whoever
    /// comes through it next would take this one for a neighbour, and leave the region to it.
    void close(Locks locks);

    int fd() const { return descriptor; }
    NUV_Devlist_Shm* region() const { return mapping; }

    /// The size of the descriptor's file; none if it has no name any more. A region without one is
    /// nobody's meeting place.
    std::optional<std::size_t> size_if_linked() const;
    bool has_link() const { return size_if_linked().has_value(); }
    /// Read from the file, since a mapping beyond its end can't be touched.
    unsigned int version() const;

    /// The manager that shows this attachment in its fields from now on, and whose semaphore
    /// wrappers it guards.
    void set_manager(CNuv_shm_manager& attached);
    pid_t process_id() const { return process; }
    /// False in a process that was forked without the list being seen to.
    bool belongs_to_this_process() const;

private:
    static void before_fork();
    static void after_fork_in_parent();
    static void after_fork_in_child();
    static const int registered;  ///< when the library is loaded: a fork must not come in between
    void forget_in_child();

    int descriptor = -1;
    NUV_Devlist_Shm* mapping = nullptr;
    std::optional<Rw_watch> rw_watch;
    std::optional<Update_lock> update_lock;
    CNuv_shm_manager* manager = nullptr;
    pid_t process;
    Attachment* next;
    Attachment* previous = nullptr;
};

}  // namespace nuv
