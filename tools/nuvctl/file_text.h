// Owner, group, mode and times in words.
#pragma once

#include <sys/stat.h>

#include <chrono>
#include <cstdint>
#include <string>

namespace nuvctl {

/// The name, made safe, or the number when it has none.
std::string user_name(uid_t user);
std::string group_name(gid_t group_id);
/// "owner ann, group video, mode 0664"
std::string ownership_text(const struct stat& file);
/// Four octal digits.
std::string mode_text(mode_t mode);
/// Local date and time of day; the bare number when it is no date.
std::string time_text(std::int64_t seconds);
/// "0.2 s"
std::string seconds_text(std::chrono::milliseconds time);
/// The time of day of a moment of today, the date of any other.
std::string short_time_text(std::int64_t seconds);

}  // namespace nuvctl
