#include "registry/semaphore_bytes.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace nuv {
namespace {

/// Behind the counters, four bytes tell whether processes share the semaphore.
constexpr std::size_t sharing_offset = 8;

std::uint32_t sharing_of_region() {
    sem_t fresh{};
    sem_init(&fresh, 1, 0);
    std::uint32_t sharing = 0;
    std::memcpy(&sharing, reinterpret_cast<const char*>(&fresh) + sharing_offset, sizeof sharing);
    return sharing;
}

}  // namespace

void mend_semaphore(sem_t* semaphore) {
    static const std::uint32_t right = sharing_of_region();
    auto* const sharing =
        reinterpret_cast<std::uint32_t*>(reinterpret_cast<char*>(semaphore) + sharing_offset);
    if (__atomic_load_n(sharing, __ATOMIC_RELAXED) != right) {
        __atomic_store_n(sharing, right, __ATOMIC_RELAXED);
    }
}

}  // namespace nuv
