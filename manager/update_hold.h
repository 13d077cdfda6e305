// The registry's `sem_update`, held for as long as the object lives.
#pragma once

#include "registry/semaphore_guard.h"

#include <nuv/device_manager.h>

namespace nuv {

/// Says in the log when the wait takes long, and when the semaphore was got back from a dead
/// holder. A wait can be ended from outside, so that a semaphore that nobody gives back hangs no
/// shutdown.
class Update_hold final : private Patience {
public:
    /// Whether a wait for `sem_update` is worth going on with; asked a few times a second.
    using Worth_waiting = bool (*)(CNuv_device_manager& manager, std::chrono::milliseconds waited);

    Update_hold(CNuv_device_manager& for_manager, const char* operation,
                Worth_waiting asked = until_shutdown_is_due);
    Update_hold(const Update_hold&) = delete;
    Update_hold& operator=(const Update_hold&) = delete;
    ~Update_hold() override { release(); }

    /// False when the wait was ended or refused.
    bool is_acquired() const { return acquired; }

    /// Gives the semaphore back early, where a line is to be written after the post.
    void release();

private:
    static bool until_shutdown_is_due(CNuv_device_manager& manager,
                                      std::chrono::milliseconds waited);
    bool go_on(std::chrono::milliseconds waited) override;
    void freed_from_dead_holder() override;

    CNuv_device_manager& manager;
    const char* op;
    Worth_waiting worth_waiting;
    std::chrono::milliseconds next_line;
    bool acquired;
};

}  // namespace nuv
