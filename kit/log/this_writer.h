// Who writes a line.
#pragma once

#include <sys/types.h>

namespace nuv {

struct Writer {
    pid_t process = 0;
    pid_t thread = 0;
};

/// The calling thread. The system is asked once in each thread, and again in a forked child: every
/// time would be a seventh of a line's cost. A child that was made without fork handlers writes
/// under its parent's ids.
const Writer& this_writer();
/// In a forked child.
void forget_writer();

}  // namespace nuv
