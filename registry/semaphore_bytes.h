// What a stray write into a semaphore must not do: end the processes that use it.
#pragma once

#include <semaphore.h>

namespace nuv {

/// Writes back the part of a region's semaphore that nothing changes after `sem_init`, if it is not
/// as it was. The C library hands it on to the kernel, and ends the process at the kernel's
/// refusal. The counters beside it may have any value: at the worst the semaphore looks lost, and
/// is freed as one.
void mend_semaphore(sem_t* semaphore);

}  // namespace nuv
