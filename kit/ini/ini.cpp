#include "ini_path.h"
#include "log_section.h"

#include <nuvkit/ini.h>
#include <nuvkit/log.h>

#include <cstring>
#include <exception>
#include <string>

struct CNuv_ini::Impl {
    std::string name;
};

CNuv_ini::CNuv_ini(char const* name)
    : impl(std::make_unique<Impl>(Impl{name != nullptr ? name : ""})) {}

CNuv_ini::~CNuv_ini() = default;

unsigned int CNuv_ini::get_ini_filename(char* buffer, int size) try {
    if (buffer == nullptr || size <= 0) {
        return NUV_INI_BAD_BUFFER;
    }
    const std::string path = nuv::find_ini_file(impl->name);
    if (path.empty()) {
        return NUV_INI_NOT_FOUND;
    }
    if (path.size() >= static_cast<std::size_t>(size)) {
        return NUV_INI_BAD_BUFFER;
    }
    std::memcpy(buffer, path.c_str(), path.size() + 1);
    return 0;
} catch (const std::exception&) {
    return NUV_INI_NOT_FOUND;
}

CNuv_Log* CNuv_ini::create_log_from_ini() try {
    const std::string path = nuv::find_ini_file(impl->name);
    if (path.empty()) {
        return nullptr;
    }
    const auto settings = nuv::read_log_section(path, impl->name);
    return settings ? new CNuv_Log(*settings) : nullptr;
} catch (const std::exception&) {
    return nullptr;
}
