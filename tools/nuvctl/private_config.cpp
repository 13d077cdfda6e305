#include "private_config.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace nuvctl {
namespace {

std::string temporary_folder() {
    std::error_code error;
    const std::filesystem::path parent = std::filesystem::temp_directory_path(error);
    std::string name = (error ? "/tmp" : parent.string()) + "/nuvctl-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("cannot make a folder " + name + ": " + std::strerror(errno));
    }
    return name;
}

void require_readable(const std::string& file) {
    if (!std::filesystem::is_regular_file(file)) {
        throw std::runtime_error("the configuration " + file + " is no file");
    }
    if (access(file.c_str(), R_OK) != 0) {
        throw std::runtime_error("cannot read the configuration " + file + ": " +
                                 std::strerror(errno));
    }
}

}  // namespace

Private_config::Private_config(const std::string& file) {
    require_readable(file);
    folder = temporary_folder();
    link = folder + "/nuv_devicemgr.ini";
    const std::string target = std::filesystem::absolute(file).string();
    if (symlink(target.c_str(), link.c_str()) != 0) {
        const int error = errno;
        rmdir(folder.c_str());
        throw std::runtime_error("cannot make " + link + ": " + std::strerror(error));
    }
    const char* path = std::getenv("NUV_INI_PATH");
    const std::string rest = path != nullptr ? std::string(":") + path : "";
    setenv("NUV_INI_PATH", (folder + rest).c_str(), 1);
}

Private_config::~Private_config() {
    unlink(link.c_str());
    rmdir(folder.c_str());
}

}  // namespace nuvctl
