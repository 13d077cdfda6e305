#include "registry/update_lock.h"

#include "registry/neighbours.h"
#include "registry/region_locks.h"
#include "registry/semaphore_bytes.h"
#include "registry/sliced_wait.h"

#include <cerrno>
#include <chrono>
#include <thread>

namespace nuv {

namespace {

using namespace std::chrono_literals;

/// From when the byte is taken. Who had to wait for it has most likely met a holder, and a living
/// one posts before it drops the byte. Who has found it free knows of nobody: the semaphore may be
/// held in this very process, by something that goes around the wrappers.
std::chrono::milliseconds longest_trust(const Waiting& waiting) {
    return waiting.has_found_it_busy() ? 1s : 3s;
}

int time_out() {
    errno = ETIMEDOUT;
    return -1;
}

}  // namespace

bool Update_lock::try_take(Waiting& waiting) {
    if (taken.exchange(true, std::memory_order_acquire)) {
        return false;
    }
    const Lock_answer answer = try_update_byte(fd);
    if (answer == Lock_answer::busy) {
        taken.store(false, std::memory_order_release);
        waiting.note_busy();
        return false;
    }
    holders_are_known = answer == Lock_answer::taken;
    return true;
}

int Update_lock::wait(sem_t* semaphore, Waiting& waiting) {
    if (!take(waiting)) {
        return time_out();
    }
    const int result =
        is_free(semaphore) ? sem_wait(semaphore) : outwait_holder(semaphore, waiting);
    if (result != 0) {
        const int error = errno;
        posted();
        errno = error;
    }
    return result;
}

bool Update_lock::take(Waiting& waiting) {
    constexpr auto pause = 1ms;
    constexpr auto question = 250ms;
    if (try_take(waiting)) {
        return true;
    }
    waiting.begin();
    auto next_question = waiting.waited();
    while (!try_take(waiting)) {
        if (waiting.waited() >= next_question) {
            next_question += question;
            if (!waiting.go_on()) {
                return false;
            }
        }
        std::this_thread::sleep_for(pause);
    }
    return true;
}

/// With the byte taken: the holder, if it lives, is an old neighbour. One that has posted and gone
/// since the slice ended is not found, so the semaphore is looked at once more, last; if it posts
/// even later, its post is one too many.
int Update_lock::outwait_holder(sem_t* semaphore, Waiting& waiting) {
    waiting.begin_watch();
    if (!waiting.go_on()) {
        return time_out();
    }
    Slice end = wait_one_slice(semaphore, waiting.end_of_slice());
    bool freed = false;
    for (; end == Slice::too_short; end = wait_one_slice(semaphore, waiting.end_of_slice())) {
        waiting.begin_next_slice();
        if (!waiting.go_on()) {
            return time_out();
        }
        if (holders_are_known && waiting.watched() >= longest_trust(waiting) &&
            !may_have_old_neighbours(fd) && !is_free(semaphore)) {
            sem_post(semaphore);
            freed = true;
            waiting.freed_from_dead_holder();
        }
    }
    if (end == Slice::acquired && freed) {
        take_surplus_posts(semaphore);
    }
    return end == Slice::acquired ? 0 : -1;
}

void Update_lock::posted() {
    drop_update_byte(fd);
    taken.store(false, std::memory_order_release);
}

}  // namespace nuv
