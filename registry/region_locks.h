// One-byte locks on the region's own descriptor, which the kernel drops when their holder dies.
//
// gate (byte 0, exclusive): held only across steps that wait for no other process, by whoever
// creates, attaches to, clears or removes the region, or frees a lost `sem_rw`. Nothing waits for a
// semaphore while holding it: a dead holder of `sem_rw` would lock everyone out for good.
//
// presence (byte 1, shared): held from attach to detach. Whoever can turn it exclusive knows that
// no other manager is attached or attaching.
//
// update (byte 2, exclusive): held by whoever holds `sem_update`, and taken before it; see
// update_lock.h.
//
// They are locks of the open file description: classic ones would go with any other descriptor of
// the region that the process closes. Where the kernel knows no such locks, everything here says
// yes, and the counts in the region decide alone.
#pragma once

#include <chrono>

namespace nuv {

using Deadline = std::chrono::steady_clock::time_point;

class Gate {
public:
    explicit Gate(int region_fd = -1) : fd(region_fd) {}
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;
    ~Gate() { release(); }

    void set_descriptor(int region_fd) { fd = region_fd; }
    /// Polls until the gate is taken; false when the deadline passes first.
    bool acquire(Deadline deadline);
    void release();
    /// Leaves the lock to whoever closes the descriptor, whose number may then be another thread's.
    void forget() { held = false; }
    bool is_held() const { return held; }

private:
    int fd;
    bool held = false;
};

/// False when somebody has presence exclusively, which is somebody who removes the region.
bool share_presence(int fd);
/// Turns shared presence into exclusive presence; false when another manager shares it.
bool claim_presence(int fd);

enum class Lock_answer { taken, busy, unknown };

/// Tries the lock that goes with `sem_update`; `unknown` where the kernel has no such locks.
Lock_answer try_update_byte(int fd);
void drop_update_byte(int fd);

/// Gives up all locks. A forked child may keep the descriptor open, so closing it here
/// would not be enough.
void drop_locks(int fd);

}  // namespace nuv
