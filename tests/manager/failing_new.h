// Memory that runs out at a chosen moment.
#pragma once

namespace manager_test {

/// The calling thread's next `new`, in whatever library, throws std::bad_alloc.
void fail_next_new();

}  // namespace manager_test
