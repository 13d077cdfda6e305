/// \file
/// Re-entrant access to one process-shared semaphore of the registry.
#pragma once

#include <nuv/export.h>

#include <semaphore.h>

#include <cstdint>

class CNuv_Log;

namespace nuv {
class Semaphore_guard;
}

/// Lets the thread that holds the semaphore through this object wait for it again without
/// blocking. Another wrapper of the same semaphore, in the same thread too, is a stranger: a
/// thread that holds the semaphore through one wrapper and waits on another blocks: on `sem_update`
/// for good, on `sem_rw` until it is taken for lost.
///
/// Made by `CNuv_shm_manager` for each of the region's two semaphores while it is attached. The
/// fields are public because the kit's other libraries read them; only the holder changes
/// `wait_called` and `t_id`.
class NUV_EXPORT CNuv_sem_access {
public:
    /// Neither takes ownership of `sem` nor touches it. With a null pointer every wait fails.
    explicit CNuv_sem_access(sem_t* sem);
    CNuv_sem_access(const CNuv_sem_access&) = delete;
    CNuv_sem_access& operator=(const CNuv_sem_access&) = delete;

    /// Stores `log`, which is not owned and must outlive this object; null switches the log off.
    /// Controlling thread.
    void SetLog(CNuv_Log* log);

    /// Replaces the option bits; 0x10000000 switches the trace on. Any thread.
    void set_general_bits(unsigned int bits);

    /// Acquires the semaphore, or one more nesting level when the calling thread is the holder.
    /// Blocks until the semaphore is free; goes on waiting after a signal. A manager's wrapper also
    /// frees a semaphore whose holder has died: docs/robustness.md. Any thread.
    /// \return 0, or -1 when the system refuses the wait; nothing is held then.
    int wait();

    /// Takes the semaphore if it is free, without making the caller its holder: to others it looks
    /// like a dead one. Any thread.
    /// \return what `sem_trywait` returns; `errno` says why it is -1.
    int trywait();

    /// Releases one nesting level; the outermost one releases the semaphore. The holder only.
    /// Without a matching wait nothing is posted.
    /// \return always 0
    int post();

    /// Writes a line, without a prefix, when a log is set and bit 0x10000000 is. Any thread.
    void writelog(unsigned int level, const char* format, ...) NUV_PRINTF_FORMAT(3, 4);

    sem_t* sem;                      ///< in the region; not owned
    std::int32_t wait_called = 0;    ///< nesting depth; 0: not held through this object
    std::uint64_t t_id = 0;          ///< `pthread_self` of the holder; 0: not held
    std::uint32_t general_bits = 0;  ///< those of <nuv/bits.h>
    CNuv_Log* clog = nullptr;        ///< not owned
    /// The library's own: how a manager's wrapper outlives a dead holder.
    nuv::Semaphore_guard* guard = nullptr;
};
