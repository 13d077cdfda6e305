#include "file_text.h"

#include "safe_text.h"

#include <grp.h>
#include <pwd.h>

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

std::string user_name(uid_t user) {
    const passwd* entry = getpwuid(user);
    return entry ? safe_text(entry->pw_name) : std::to_string(user);
}

std::string group_name(gid_t group_id) {
    const group* entry = getgrgid(group_id);
    return entry ? safe_text(entry->gr_name) : std::to_string(group_id);
}

std::string ownership_text(const struct stat& file) {
    return "owner " + user_name(file.st_uid) + ", group " + group_name(file.st_gid) + ", mode " +
           mode_text(file.st_mode);
}

std::string mode_text(mode_t mode) {
    char text[8];
    std::snprintf(text, sizeof text, "%04o", mode & 07777u);
    return text;
}

std::string time_text(std::int64_t seconds) {
    return formatted(seconds, "%F %T");
}

std::string seconds_text(std::chrono::milliseconds time) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f s", static_cast<double>(time.count()) / 1000);
    return text;
}

std::string short_time_text(std::int64_t seconds) {
    const bool is_today = formatted(seconds, "%F") == formatted(std::time(nullptr), "%F");
    return formatted(seconds, is_today ? "%R" : "%F");
}

}  // namespace nuvctl
