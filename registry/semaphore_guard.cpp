#include "registry/semaphore_guard.h"

#include "registry/sliced_wait.h"

namespace nuv {

void Waiting::begin() {
    if (!begun) {
        begun = true;
        start = std::chrono::steady_clock::now();
        slice_end = start + slice_length;
    }
}

void Waiting::begin_next_slice() {
    slice_end = std::chrono::steady_clock::now() + slice_length;
}

std::chrono::milliseconds Waiting::waited() const {
    using std::chrono::steady_clock;
    return std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - start);
}

bool Waiting::go_on() {
    return patience == nullptr || patience->go_on(waited());
}

void Waiting::freed_from_dead_holder() {
    if (patience != nullptr) {
        patience->freed_from_dead_holder();
    }
}

}  // namespace nuv
