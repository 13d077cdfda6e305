#include "registry/update_lock.h"

#include "registry/neighbours.h"
#include "registry/region_locks.h"
#include "registry/sliced_wait.h"

#include <cerrno>
#include <chrono>
#include <thread>

namespace nuv {

/// How long somebody waits, and whether it is to go on.
class Update_lock::Stopwatch {
public:
    explicit Stopwatch(Patience* asked) : patience(asked) {}

    std::chrono::milliseconds waited() const {
        using std::chrono::steady_clock;
        return std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - start);
    }
    bool go_on() { return patience == nullptr || patience->go_on(waited()); }
    void freed() {
        if (patience != nullptr) {
            patience->freed_from_dead_holder();
        }
    }

private:
    Patience* const patience;
    const std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

namespace {

using namespace std::chrono_literals;

/// Longer than any holder takes between its post and dropping the byte.
constexpr auto suspicious = 1s;

int time_out() {
    errno = ETIMEDOUT;
    return -1;
}

}  // namespace

bool Update_lock::try_take() {
    if (taken.exchange(true, std::memory_order_acquire)) {
        return false;
    }
    const Lock_answer answer = try_update_byte(fd);
    if (answer == Lock_answer::busy) {
        taken.store(false, std::memory_order_release);
        return false;
    }
    holders_are_known = answer == Lock_answer::taken;
    return true;
}

int Update_lock::wait(sem_t* semaphore, Patience* patience) {
    Stopwatch watch(patience);
    if (!take(watch)) {
        return time_out();
    }
    if (is_free(semaphore)) {
        const int result = sem_wait(semaphore);
        if (result != 0) {
            posted();
        }
        return result;
    }
    if (!outwait_holder(semaphore, watch)) {
        posted();
        return time_out();
    }
    return 0;
}

bool Update_lock::take(Stopwatch& watch) {
    constexpr auto pause = 1ms;
    constexpr auto question = 250ms;
    auto next_question = watch.waited() + question;
    while (!try_take()) {
        std::this_thread::sleep_for(pause);
        if (watch.waited() >= next_question) {
            next_question += question;
            if (!watch.go_on()) {
                return false;
            }
        }
    }
    return true;
}

/// With the byte taken: the holder, if it lives, is an old neighbour. One that has posted and gone
/// since the slice ended is not found, so the semaphore is looked at once more, last.
bool Update_lock::outwait_holder(sem_t* semaphore, Stopwatch& watch) {
    const auto start = watch.waited();
    while (!wait_one_slice(semaphore)) {
        if (!watch.go_on()) {
            return false;
        }
        if (holders_are_known && watch.waited() - start >= suspicious &&
            !may_have_old_neighbours(fd) && !is_free(semaphore)) {
            sem_post(semaphore);
            watch.freed();
        }
    }
    return true;
}

void Update_lock::posted() {
    drop_update_byte(fd);
    taken.store(false, std::memory_order_release);
}

}  // namespace nuv
