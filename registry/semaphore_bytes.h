// What this library knows of the bytes of a semaphore: how many posts it holds, and what a stray
// write must not do to it.
#pragma once

#include <semaphore.h>

#include <cstddef>
#include <cstdint>

namespace nuv {

static_assert(__GLIBC__ >= 2 && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ && sizeof(void*) == 8,
              "elsewhere the C library lays a semaphore out in another way");

/// Whether a wait that starts now finds it free. The counter lies first; `sem_getvalue` tells the
/// same, but its call is a thirtieth of a look-up.
inline bool is_free(sem_t* semaphore) {
    return __atomic_load_n(reinterpret_cast<const std::int32_t*>(semaphore), __ATOMIC_RELAXED) > 0;
}

/// Behind the counters, four bytes tell whether processes share the semaphore.
constexpr std::size_t sharing_offset = 8;

/// What they hold in a semaphore that processes share. 0 as long as this library's objects are not
/// constructed, which a back-end's are before it.
extern const std::uint32_t right_sharing __attribute__((visibility("hidden")));

/// Writes the bytes back, unless they are right after all.
[[gnu::cold]] void mend_sharing(std::uint32_t* sharing);

/// Writes back the part of a region's semaphore that nothing changes after `sem_init`, if it is not
/// as it was. The C library hands it on to the kernel, and ends the process at the kernel's
/// refusal. The counters beside it may have any value: at the worst the semaphore looks lost, and
/// is freed as one.
inline void mend_semaphore(sem_t* semaphore) {
    auto* const sharing =
        reinterpret_cast<std::uint32_t*>(reinterpret_cast<char*>(semaphore) + sharing_offset);
    if (__atomic_load_n(sharing, __ATOMIC_RELAXED) != right_sharing) {
        mend_sharing(sharing);
    }
}

}  // namespace nuv
