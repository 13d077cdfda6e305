#include "failing_new.h"

#include <cstdlib>
#include <new>

namespace {

thread_local bool next_fails = false;

}  // namespace

void manager_test::fail_next_new() {
    next_fails = true;
}

void* operator new(std::size_t size) {
    void* const memory = next_fails ? nullptr : std::malloc(size);
    next_fails = false;
    return memory != nullptr ? memory : throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
