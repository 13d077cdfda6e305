#include "registry/semaphore_guard.h"

namespace nuv {

void Waiting::begin() {
    if (!begun) {
        begun = true;
        start = std::chrono::steady_clock::now();
    }
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
