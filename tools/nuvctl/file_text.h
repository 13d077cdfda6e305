// Owner, group, mode and times in words.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>

namespace nuvctl {

/// The name, made safe, or the number when it has none.
std::string user_name(uid_t user);
std::string group_name(gid_t group_id);
/// Four octal digits.
std::string mode_text(mode_t mode);
/// Local date and time of day; the bare number when it is no date.
std::string time_text(std::int64_t seconds);
/// The time of day of a moment of today, the date of any other.
std::string short_time_text(std::int64_t seconds);

}  // namespace nuvctl
