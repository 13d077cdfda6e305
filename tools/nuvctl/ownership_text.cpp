#include "ownership_text.h"

#include "safe_text.h"

#include <grp.h>
#include <pwd.h>

#include <cstdio>

namespace nuvctl {

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

}  // namespace nuvctl
