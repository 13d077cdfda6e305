#include "ini_path.h"

#include <sys/stat.h>

#include <cstdlib>
#include <utility>
#include <vector>

namespace nuv {
namespace {

// A program with more rights than its caller must not take the caller's word for its files.
std::string environment(const char* variable) {
    const char* value = secure_getenv(variable);
    return value != nullptr ? value : "";
}

std::vector<std::string> folders() {
    std::vector<std::string> found;
    std::string path = environment("NUV_INI_PATH");
    for (std::size_t end = path.find(':'); end != std::string::npos; end = path.find(':')) {
        found.push_back(path.substr(0, end));
        path.erase(0, end + 1);
    }
    found.push_back(std::move(path));
    found.push_back(user_folder("XDG_CONFIG_HOME", ".config"));
    found.emplace_back("/etc/nuv");
    return found;
}

bool exists(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0;
}

}  // namespace

std::string user_folder(const char* variable, const char* home_default) {
    const std::string base = environment(variable);
    if (!base.empty() && base.front() == '/') {
        return base + "/nuv";
    }
    const std::string home = environment("HOME");
    return home.empty() ? "" : home + "/" + home_default + "/nuv";
}

std::string find_ini_file(const std::string& name) {
    if (name.empty() || name.find('/') != std::string::npos) {
        return "";
    }
    for (const std::string& folder : folders()) {
        std::string path = folder + "/" + name + ".ini";
        if (!folder.empty() && exists(path)) {
            return path;
        }
    }
    return "";
}

}  // namespace nuv
