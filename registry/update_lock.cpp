#include "registry/update_lock.h"

#include "registry/neighbours.h"
#include "registry/region_locks.h"
#include "registry/sliced_wait.h"

#include <cerrno>
#include <chrono>
#include <thread>

namespace nuv {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

/// Longer than any holder takes between its post and dropping the byte.
constexpr auto suspicious = 1s;

/// How long somebody waits, and whether it is to go on.
class Stopwatch {
public:
    explicit Stopwatch(Patience* asked) : patience(asked) {}

    std::chrono::milliseconds waited() const {
        return std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - start);
    }
    bool go_on() { return patience == nullptr || patience->go_on(waited()); }

private:
    Patience* const patience;
    const steady_clock::time_point start = steady_clock::now();
};

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
    constexpr auto pause = 1ms;
    constexpr auto question = 250ms;
    Stopwatch whole(patience);
    for (auto next_question = whole.waited() + question; !try_take();
         std::this_thread::sleep_for(pause)) {
        if (whole.waited() >= next_question) {
            next_question += question;
            if (!whole.go_on()) {
                return time_out();
            }
        }
    }
    const Stopwatch alone(nullptr);
    while (!wait_one_slice(semaphore)) {
        if (!whole.go_on()) {
            posted();
            return time_out();
        }
        if (holders_are_known && alone.waited() >= suspicious && !may_have_old_neighbours(fd)) {
            sem_post(semaphore);
            if (patience != nullptr) {
                patience->freed_from_dead_holder();
            }
        }
    }
    return 0;
}

void Update_lock::posted() {
    drop_update_byte(fd);
    taken.store(false, std::memory_order_release);
}

}  // namespace nuv
