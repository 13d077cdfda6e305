#include "log_section.h"

#include "ini_path.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

#define SI_NO_CONVERSION
#define SI_IMPLEMENTATION
#include <SimpleIni.h>

namespace nuv {
namespace {

constexpr char section[] = "LOG";
constexpr unsigned int default_level_bits = 0x9;

unsigned long number(const char* value) {
    return std::strtoul(value, nullptr, 0);
}

bool is_on(const char* value) {
    const std::string_view text = value;
    if (text.find("ena") != text.npos) {
        return true;
    }
    return text.find("dis") == text.npos && number(value) != 0;
}

struct Number_key {
    const char* key;
    unsigned int CNuv_Log::Settings::*target;
};
constexpr Number_key number_keys[] = {
    {"Level", &CNuv_Log::Settings::level_bits},
    {"Sources", &CNuv_Log::Settings::sources},
    {"Interfaces", &CNuv_Log::Settings::interface_types},
    {"MaxFiles", &CNuv_Log::Settings::max_files},
};

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
    if (!load(ini, path) || ini.GetSection(section) == nullptr) {
        return std::nullopt;
    }
    CNuv_Log::Settings settings;
    settings.level_bits = default_level_bits;
    for (const Number_key& entry : number_keys) {
        if (const char* value = ini.GetValue(section, entry.key)) {
            settings.*entry.target = static_cast<unsigned int>(number(value));
        }
    }
    if (const char* value = ini.GetValue(section, "MaxSize")) {
        settings.max_size = number(value);
    }
    settings.console = is_on(ini.GetValue(section, "Console", ""));
    settings.file = ini.GetValue(section, "File", "");
    if (settings.level_bits == 0) {
        return std::nullopt;
    }
    choose_destination(settings, name);
    return settings;
}

}  // namespace nuv
