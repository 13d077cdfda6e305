#include "registry/semaphore_bytes.h"

#include <cstring>

namespace nuv {
namespace {

std::uint32_t sharing_of_region() {
    sem_t fresh{};
    sem_init(&fresh, 1, 0);
    std::uint32_t sharing = 0;
    std::memcpy(&sharing, reinterpret_cast<const char*>(&fresh) + sharing_offset, sizeof sharing);
    return sharing;
}

}  // namespace

const std::uint32_t right_sharing = sharing_of_region();

void mend_sharing(std::uint32_t* sharing) {
    const std::uint32_t right = sharing_of_region();
    if (__atomic_load_n(sharing, __ATOMIC_RELAXED) != right) {
        __atomic_store_n(sharing, right, __ATOMIC_RELAXED);
    }
}

}  // namespace nuv
