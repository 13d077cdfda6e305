#include "this_writer.h"

#include <unistd.h>

namespace nuv {
namespace {

/// In the block that a thread is born with: the C library ends the process when it has no memory
/// for any other, and a line must not need memory.
[[gnu::tls_model("initial-exec")]] thread_local Writer writer;

}  // namespace

const Writer& this_writer() {
    if (writer.thread == 0) {
        writer = {getpid(), gettid()};
    }
    return writer;
}

void forget_writer() {
    writer = {};
}

}  // namespace nuv
