#include "time_text.h"

#include <cstdio>
#include <ctime>

namespace nuvctl {
namespace {

std::string formatted(std::int64_t seconds, const char* format) {
    const std::time_t moment = seconds;
    std::tm parts;
    char text[64];
    if (localtime_r(&moment, &parts) == nullptr ||
        std::strftime(text, sizeof text, format, &parts) == 0) {
        return std::to_string(seconds);
    }
    return text;
}

}  // namespace

std::string time_text(std::int64_t seconds) {
    return formatted(seconds, "%F %T");
}

std::string short_time_text(std::int64_t seconds) {
    const bool is_today = formatted(seconds, "%F") == formatted(std::time(nullptr), "%F");
    return formatted(seconds, is_today ? "%R" : "%F");
}

std::string seconds_text(std::chrono::milliseconds time) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f s", static_cast<double>(time.count()) / 1000);
    return text;
}

}  // namespace nuvctl
