// What a manager's semaphore wrappers do beyond waiting and posting: they outlive a dead holder.
#pragma once

#include <nuv/sem_access.h>

#include <semaphore.h>

#include <chrono>
#include <optional>

namespace nuv {

/// What somebody who waits is told, a few times a second.
class Patience {
public:
    virtual ~Patience() = default;
    /// Whether to go on waiting.
    virtual bool go_on(std::chrono::milliseconds waited) = 0;
    /// The semaphore's holder was found dead, and the semaphore was freed.
    virtual void freed_from_dead_holder() = 0;
};

/// One wait, which a signal may interrupt and which then goes on.
class Waiting {
public:
    /// Without `asked` it goes on for ever.
    explicit Waiting(Patience* asked) : patience(asked) {}

    /// The semaphore was not free: the time counts from here. Most waits never read a clock.
    void begin();
    std::chrono::milliseconds waited() const;
    bool go_on();
    void freed_from_dead_holder();

    /// It waits in slices and looks around after each. One that a signal cuts short goes on in the
    /// next call, or signals that come often enough would keep it from ever looking.
    std::chrono::steady_clock::time_point end_of_slice() const { return times->end_of_slice; }
    void begin_next_slice();

    /// For a guard that watches whether a holder lives: for how long it has done so, which a signal
    /// must not make forgotten either, and whether it had to wait before.
    void begin_watch();
    std::chrono::milliseconds watched() const;
    void note_busy();
    bool has_found_it_busy() const { return was_busy; }

private:
    struct Times {
        std::chrono::steady_clock::time_point start;
        std::chrono::steady_clock::time_point end_of_slice;
    };

    Patience* const patience;
    std::optional<Times> times;  ///< once begun
    std::optional<std::chrono::steady_clock::time_point> watch_start;
    bool was_busy = false;
};

class Semaphore_guard {
public:
    /// Most operations find the semaphore free, and should not pay for a guard that is then idle.
    enum class Sees { every_wait, waits_for_others };

    explicit Semaphore_guard(Sees sees_waits) : sees(sees_waits) {}
    virtual ~Semaphore_guard() = default;
    /// Acquires the semaphore.
    /// \return what `sem_wait` returns; -1 with ETIMEDOUT when the patience has ended
    virtual int wait(sem_t* semaphore, Waiting& waiting) = 0;
    /// The semaphore was posted; told only to a guard that sees every wait.
    virtual void posted() {}

    const Sees sees;
};

/// Waits through a wrapper, as its `wait` does, but for no longer than the patience lasts.
/// \return 0, or -1 when it has ended
int wait_with_patience(CNuv_sem_access& access, Patience& patience);

}  // namespace nuv
