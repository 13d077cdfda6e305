#include "this_writer.h"

#include <pthread.h>
#include <unistd.h>

namespace nuv {
namespace {

thread_local Writer writer;

}  // namespace

const Writer& this_writer() {
    if (writer.thread == 0) {
        static const int registered [[maybe_unused]] =
            pthread_atfork(nullptr, nullptr, [] { writer = {}; });
        writer = {getpid(), gettid()};
    }
    return writer;
}

}  // namespace nuv
