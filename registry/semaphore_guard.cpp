#include "registry/semaphore_guard.h"

#include "registry/sliced_wait.h"

namespace nuv {
namespace {

std::chrono::milliseconds since(std::chrono::steady_clock::time_point moment) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 moment);
}

}  // namespace

void Waiting::begin() {
    if (!times) {
        const auto now = std::chrono::steady_clock::now();
        times = {now, now + slice_length};
    }
}

void Waiting::begin_next_slice() {
    times->end_of_slice = std::chrono::steady_clock::now() + slice_length;
}

std::chrono::milliseconds Waiting::waited() const {
    return since(times->start);
}

void Waiting::begin_watch() {
    begin();
    if (!watch_start) {
        watch_start = std::chrono::steady_clock::now();
        begin_next_slice();
    }
}

std::chrono::milliseconds Waiting::watched() const {
    return since(*watch_start);
}

void Waiting::note_busy() {
    was_busy = true;
    watch_start.reset();
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
