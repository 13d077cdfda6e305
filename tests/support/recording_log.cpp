#include "support/recording_log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <mutex>

namespace {

std::mutex guard;
std::vector<nuv_test::Log_line> kept;  // guarded by `guard`

void keep(const nuv_test::Log_line& line) {
    const std::lock_guard<std::mutex> hold(guard);
    kept.push_back(line);
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
    keep({this, level, source, text});
}

unsigned int CNuv_Log::get_logbits() {
    return 0xFFFFFFFF;
}

void CNuv_Log::set_lib_vers(char const* library, char const* version, char const* build_date) {
    keep(
        {this, 0, 0, std::string("set_lib_vers: ") + library + ", " + version + ", " + build_date});
}

namespace nuv_test {

std::unique_ptr<CNuv_Log> make_log() {
    return std::make_unique<CNuv_Log>(CNuv_Log::Settings{});
}

Log_record::~Log_record() {
    if (!testing::Test::HasFailure()) {
        return;
    }
    for (const Log_line& line : lines()) {
        std::printf("  log %p level 0x%x source 0x%x: %s\n", static_cast<const void*>(line.log),
                    line.level, static_cast<unsigned int>(line.source), line.text.c_str());
    }
}

std::vector<Log_line> Log_record::lines() const {
    const std::lock_guard<std::mutex> hold(guard);
    return kept;
}

std::vector<std::string> Log_record::texts(const CNuv_Log* log) const {
    std::vector<std::string> found;
    for (const Log_line& line : lines()) {
        if (log == nullptr || line.log == log) {
            found.push_back(line.text);
        }
    }
    return found;
}

bool Log_record::contains(const std::string& part) const {
    const std::vector<Log_line> all = lines();
    return std::any_of(all.begin(), all.end(), [&](const Log_line& line) {
        return line.text.find(part) != std::string::npos;
    });
}

void Log_record::clear() {
    const std::lock_guard<std::mutex> hold(guard);
    kept.clear();
}

}  // namespace nuv_test
