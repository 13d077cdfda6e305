#include "this_writer.h"

#include <unistd.h>

namespace nuv {
namespace {

thread_local Writer writer;

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
