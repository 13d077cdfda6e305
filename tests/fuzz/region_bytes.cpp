#include "fuzz/region_parts.h"
#include "registry/region.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <string_view>
#include <vector>

namespace nuv_fuzz {
namespace {

using Bytes = std::vector<std::uint8_t>;

unsigned char* bytes_of(NUV_Devlist_Shm& region) {
    return reinterpret_cast<unsigned char*>(&region);
}

/// The same bytes again and again, so that a short input reaches every entry.
void repeat(NUV_Devlist_Shm& region, const Bytes& pattern) {
    for (std::size_t at = 0; !pattern.empty() && at < NUV_SHM_SIZE; at += pattern.size()) {
        std::copy_n(pattern.begin(), std::min(pattern.size(), NUV_SHM_SIZE - at),
                    bytes_of(region) + at);
    }
}

void patch(NUV_Devlist_Shm& region, FuzzedDataProvider& input) {
    const auto at = input.ConsumeIntegralInRange<std::size_t>(0, NUV_SHM_SIZE - 1);
    const Bytes piece = input.ConsumeBytes<std::uint8_t>(
        input.ConsumeIntegralInRange<std::size_t>(1, sizeof(NUV_Device)));
    std::copy_n(piece.begin(), std::min(piece.size(), NUV_SHM_SIZE - at), bytes_of(region) + at);
}

/// Any counters are seldom those of a semaphore that is held.
void take_semaphores(NUV_Devlist_Shm& region, FuzzedDataProvider& input) {
    for (sem_t* const semaphore : {nuv::sem_rw_of(&region), nuv::sem_update_of(&region)}) {
        if (input.ConsumeBool()) {
            std::memset(semaphore, 0, sizeof(int));
        }
    }
}

void choose_time_stamp(NUV_Devlist_Shm& region, FuzzedDataProvider& input, bool takes_semaphores) {
    if (takes_semaphores) {
        nuv::store_time_stamp(&region, 1);  // or a wait would last
    } else if (input.ConsumeBool()) {
        nuv::store_time_stamp(&region, nuv::wall_clock_seconds());
    }
}

}  // namespace

bool may_take_semaphores(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    return std::hash<std::string_view>()(text) % 1024 < 16;
}

void distort(NUV_Devlist_Shm& region, FuzzedDataProvider& input, bool takes_semaphores) {
    if (input.ConsumeBool()) {
        constexpr std::size_t longest_pattern = 4 * sizeof(NUV_Device);
        repeat(region, input.ConsumeBytes<std::uint8_t>(
                           input.ConsumeIntegralInRange<std::size_t>(0, longest_pattern)));
    }
    for (int left = input.ConsumeIntegralInRange(0, 8); left > 0; --left) {
        patch(region, input);
    }
    choose_time_stamp(region, input, takes_semaphores);
    region.struct_version = NUV_SHM_VERSION;
    if (takes_semaphores) {
        take_semaphores(region, input);
    } else {
        sem_init(nuv::sem_rw_of(&region), 1, input.ConsumeIntegralInRange(1U, 3U));
        sem_init(nuv::sem_update_of(&region), 1, input.ConsumeIntegralInRange(1U, 3U));
    }
}

}  // namespace nuv_fuzz
