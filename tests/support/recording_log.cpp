#include "support/recording_log.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <mutex>

namespace {

std::mutex guard;
std::vector<nuv_test::Log_line> kept;     // guarded by `guard`
unsigned int answered_bits = 0xFFFFFFFF;  // guarded by `guard`

void keep(const CNuv_Log* log, unsigned int level, int source, std::string text) {
    const std::lock_guard<std::mutex> hold(guard);
    kept.push_back({log, level, source, std::move(text)});
}

std::string formatted(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    return text;
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
    keep(this, level, source, format != nullptr ? formatted(format, arguments) : "(null)");
}

unsigned int CNuv_Log::get_logbits() {
    const std::lock_guard<std::mutex> hold(guard);
    return answered_bits;
}

void CNuv_Log::set_lib_vers(char const* library, char const* version, char const* build_date) {
    keep(this, 0, 0, std::string("set_lib_vers: ") + library + ", " + version + ", " + build_date);
}

namespace nuv_test {

std::unique_ptr<CNuv_Log> make_log() {
    return std::make_unique<CNuv_Log>(CNuv_Log::Settings{});
}

Log_record::Log_record(unsigned int logbits) {
    const std::lock_guard<std::mutex> hold(guard);
    kept.clear();
    answered_bits = logbits;
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
    for (const std::string& text : texts()) {
        if (text.find(part) != std::string::npos) {
            return true;
        }
    }
    return false;
}

void Log_record::clear() {
    const std::lock_guard<std::mutex> hold(guard);
    kept.clear();
}

}  // namespace nuv_test
