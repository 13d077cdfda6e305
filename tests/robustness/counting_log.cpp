#include "counting_log.h"

#include "step_calls.h"

#include <cstdio>
#include <utility>

namespace {

std::function<void(const std::string&)> watcher;

}  // namespace

struct CNuv_Log::Impl {};

CNuv_Log::CNuv_Log(const Settings& /*settings*/) {}

CNuv_Log::~CNuv_Log() = default;

void CNuv_Log::writelog(unsigned int level, int source, char const* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    writelog(level, source, format, arguments);
    va_end(arguments);
}

void CNuv_Log::writelog(unsigned int /*level*/, int /*source*/, char const* format,
                        va_list arguments) {
    robustness::step();
    if (watcher) {
        char line[400];
        std::vsnprintf(line, sizeof line, format, arguments);
        watcher(line);
    }
}

unsigned int CNuv_Log::get_logbits() {
    return 0xFFFFFFFF;
}

void CNuv_Log::set_lib_vers(char const* /*library*/, char const* /*version*/,
                            char const* /*build_date*/) {}

namespace robustness {

std::unique_ptr<CNuv_Log> make_log() {
    return std::make_unique<CNuv_Log>(CNuv_Log::Settings{});
}

void watch_lines(std::function<void(const std::string&)> seen) {
    watcher = std::move(seen);
}

}  // namespace robustness
