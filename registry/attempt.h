// One try to create the region or to attach to it.
#pragma once

#include "registry/attachment.h"
#include "registry/region_locks.h"

#include <nuv/shm_manager.h>

#include <memory>

namespace nuv {

enum class Outcome {
    attached,
    attached_after_clear,  ///< the registry was stale, and was cleared
    failed,
    probe_failed,
    start_over,  ///< the region was removed, replaced or completed by somebody else meanwhile
};

enum class Path { create, attach };

/// What a try has obtained so far. Unless it is handed over, its destructor gives everything back
/// in one order: semaphore wrappers, mapping, name, descriptor.
class Attempt {
public:
    Attempt(CNuv_shm_manager& for_manager, Path path);
    Attempt(const Attempt&) = delete;
    Attempt& operator=(const Attempt&) = delete;
    ~Attempt();

    bool open(int flags);
    /// From here on the try is one to create the region, in the file that it has opened.
    void create_after_all() {
        path = Path::create;
        keep_name = false;
    }
    /// The operation's name in the log.
    const char* op() const { return path == Path::create ? "create_shm" : "open_shm"; }
    NUV_Devlist_Shm* region() const { return held->region(); }

    /// Ends this try as a failure that takes the name away, so that the next one, of any process,
    /// creates a fresh region. A try to create always does that; one to attach only where it has
    /// found the region unusable.
    Outcome discard();
    /// Ends this try without taking the name away, in favour of another one; past the deadline, as
    /// a failure.
    Outcome start_over(Deadline deadline);
    /// Ends it because the deadline has passed; the name stays.
    Outcome give_up();
    /// Writes that the region's name could not be opened, and why.
    void log_open_failure(int error);
    /// Writes that it could not be mapped, and why.
    void log_map_failure(int error);

    /// Takes the name away before the try ends. Only with the gate held and a link left is it sure
    /// to be the name of this very file.
    void unlink_name();

    void hand_over();

    CNuv_shm_manager& manager;
    std::unique_ptr<Attachment> held;
    Gate gate;
    std::unique_ptr<CNuv_sem_access> sema_rw;
    std::unique_ptr<CNuv_sem_access> sema_update;

private:
    void release();

    Path path;
    bool keep_name;
    bool name_unlinked = false;
};

/// Creates the region. Starts over when it finds one that is whole, or being built.
Outcome try_create(CNuv_shm_manager& manager, Deadline deadline);

/// Builds the region in the file of an attempt that is inside the gate.
Outcome build_region(Attempt& attempt, Deadline deadline);

enum class When_absent { fail, start_over };

/// Attaches to the region, and clears it when it is stale.
Outcome try_attach(CNuv_shm_manager& manager, Deadline deadline, When_absent when_absent);

}  // namespace nuv
