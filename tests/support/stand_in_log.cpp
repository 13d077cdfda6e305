#include "support/stand_in_log.h"

#include <cstdio>
#include <utility>

namespace {

/// Made when it is first used, which may be before main.
std::function<void(const nuv_test::Log_line&)>& listener() {
    static std::function<void(const nuv_test::Log_line&)> asked;
    return asked;
}

void hand_over(const nuv_test::Log_line& line) {
    if (listener()) {
        listener()(line);
    }
}

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

void CNuv_Log::writelog(unsigned int level, int source, char const* format, va_list arguments) {
    char text[1024];
    std::vsnprintf(text, sizeof text, format, arguments);
    hand_over({this, level, source, text});
}

unsigned int CNuv_Log::get_logbits() {
    return 0xFFFFFFFF;
}

void CNuv_Log::set_lib_vers(char const* library, char const* version, char const* build_date) {
    hand_over(
        {this, 0, 0, std::string("set_lib_vers: ") + library + ", " + version + ", " + build_date});
}

std::unique_ptr<CNuv_Log> nuv_test::make_log() {
    return std::make_unique<CNuv_Log>(CNuv_Log::Settings{});
}

void nuv_test::on_log_line(std::function<void(const Log_line&)> seen) {
    listener() = std::move(seen);
}
