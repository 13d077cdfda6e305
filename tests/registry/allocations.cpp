// Memory that can run out. Apart from what is tested, where the compiler would see through it.
#include "registry/device_world.h"

#include <cstdlib>
#include <limits>
#include <new>

std::atomic<std::size_t> registry_test::largest_allocation{std::numeric_limits<std::size_t>::max()};

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return size <= registry_test::largest_allocation ? std::malloc(size) : nullptr;
}

void* operator new(std::size_t size) {
    if (void* const memory = operator new(size, std::nothrow)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
    std::free(memory);
}
