#include "log_section.h"

#include "ini_path.h"

#include <nuvkit/config_keys.h>
#include <nuvkit/config_values.h>

#include <sys/stat.h>

#include <cstdio>
#include <memory>

#define SI_NO_CONVERSION
#define SI_IMPLEMENTATION
#include <SimpleIni.h>

namespace nuv {
namespace {

struct Number_key {
    nuvkit::Key key;
    unsigned int CNuv_Log::Settings::*target;
};
constexpr Number_key number_keys[] = {
    {nuvkit::Key::log_level, &CNuv_Log::Settings::level_bits},
    {nuvkit::Key::log_sources, &CNuv_Log::Settings::sources},
    {nuvkit::Key::log_interfaces, &CNuv_Log::Settings::interface_types},
    {nuvkit::Key::log_max_files, &CNuv_Log::Settings::max_files},
};

const char* value_of(const CSimpleIniA& ini, nuvkit::Key key) {
    const nuvkit::Config_key& definition = nuvkit::definition_of(key);
    return ini.GetValue(definition.section, definition.name);
}

// Anything but a file would make the parser wait, or ask for absurd amounts of memory.
bool is_file(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool load(CSimpleIniA& ini, const std::string& path) {
    if (!is_file(path)) {
        return false;
    }
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                               &std::fclose);
    return file != nullptr && ini.LoadFile(file.get()) >= 0;
}

void choose_destination(CNuv_Log::Settings& settings, const std::string& name) {
    if (!settings.file.empty() || settings.console) {
        return;
    }
    const std::string folder = user_folder("XDG_STATE_HOME", ".local/state");
    settings.console = folder.empty();
    if (!folder.empty()) {
        settings.file = folder + "/" + name + ".%p.log";
    }
}

}  // namespace

std::optional<CNuv_Log::Settings> read_log_section(const std::string& path,
                                                   const std::string& name) {
    CSimpleIniA ini;
    const nuvkit::Config_key& level = nuvkit::definition_of(nuvkit::Key::log_level);
    if (!load(ini, path) || ini.GetSection(level.section) == nullptr) {
        return std::nullopt;
    }
    CNuv_Log::Settings settings;
    settings.level_bits = static_cast<unsigned int>(level.fallback);
    for (const Number_key& entry : number_keys) {
        if (const char* value = value_of(ini, entry.key)) {
            settings.*entry.target = static_cast<unsigned int>(nuvkit::read_number(value));
        }
    }
    if (const char* value = value_of(ini, nuvkit::Key::log_max_size)) {
        settings.max_size = nuvkit::read_number(value);
    }
    if (const char* value = value_of(ini, nuvkit::Key::log_console)) {
        settings.console = nuvkit::read_switch(value);
    }
    if (const char* value = value_of(ini, nuvkit::Key::log_file)) {
        settings.file = value;
    }
    if (settings.level_bits == 0) {
        return std::nullopt;
    }
    choose_destination(settings, name);
    return settings;
}

}  // namespace nuv
