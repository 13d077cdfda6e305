// Owner, group and mode in words.
#pragma once

#include <sys/stat.h>

#include <string>

namespace nuvctl {

/// The name, made safe, or the number when it has none.
std::string user_name(uid_t user);
std::string group_name(gid_t group_id);
/// "owner ann, group video, mode 0664"
std::string ownership_text(const struct stat& file);
/// Four octal digits.
std::string mode_text(mode_t mode);

}  // namespace nuvctl
