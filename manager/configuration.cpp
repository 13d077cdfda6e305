// The manager's INI file: what each key of <nuvkit/config_keys.h> does here, and one loop.
#define SI_NO_CONVERSION
#define SI_IMPLEMENTATION
#include "manager/listens.h"

#include <nuv/bits.h>
#include <nuv/device_manager.h>
#include <nuv/result.h>

#include <nuvkit/config_keys.h>
#include <nuvkit/config_values.h>
#include <nuvkit/ini.h>

#include <SimpleIni.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace {

using nuvkit::Key;

constexpr char op[] = "get_parameter_from_inifile";

struct Key_action {
    Key key;
    void (*apply)(CNuv_device_manager& manager, const Key_action& action, const char* value);
    int iftype;           ///< whose option word an interface switch changes
    unsigned int bit;     ///< which a switch clears when it is on and sets when it is off
    const char* message;  ///< what the log says; of a switch, when it is on
    const char* off_message;
};

void apply_switch(CNuv_device_manager& manager, const Key_action& action, std::uint32_t& word,
                  const char* value) {
    const bool on = nuvkit::read_switch(value);
    if (on) {
        nuv::relaxed_clear_bits(word, action.bit);
    } else {
        nuv::relaxed_set_bits(word, action.bit);
    }
    NUV_LOG(manager, NUV_LOG_TRACE, on ? action.message : action.off_message, op);
}

void apply_interface_switch(CNuv_device_manager& manager, const Key_action& action,
                            const char* value) {
    apply_switch(manager, action, manager.interface_options[action.iftype], value);
}

void apply_general_switch(CNuv_device_manager& manager, const Key_action& action,
                          const char* value) {
    apply_switch(manager, action, manager.m_general_bits, value);
}

void log_number(CNuv_device_manager& manager, const Key_action& action, unsigned long value) {
    NUV_LOG(manager, NUV_LOG_TRACE, action.message, op, static_cast<int>(value));
}

void apply_general_bits(CNuv_device_manager& manager, const Key_action& action, const char* value) {
    const auto bits = static_cast<std::uint32_t>(nuvkit::read_number(value));
    nuv::relaxed_store(manager.m_general_bits, bits);
    log_number(manager, action, bits);
}

void apply_scantime(CNuv_device_manager& manager, const Key_action& action, const char* value) {
    constexpr const nuvkit::Config_key& limits = nuvkit::definition_of(Key::scantime);
    const unsigned long limited = std::clamp(nuvkit::read_number(value), limits.least, limits.most);
    nuv::relaxed_store(manager.scantime, static_cast<std::uint32_t>(limited));
    log_number(manager, action, manager.scantime);
}

void apply_difftime(CNuv_device_manager& manager, const Key_action& action, const char* value) {
    manager.difftime = nuvkit::read_number(value);
    log_number(manager, action, manager.difftime);
}

constexpr unsigned int disable = DEVMGR_IF_OPTION_DISABLE;
constexpr unsigned int no_scan = DEVMGR_IF_OPTION_DISABLE_SCAN;

// In the order in which they are read: "Scan" decides its bit whatever "General_Bits" says.
// clang-format off
constexpr Key_action key_actions[] = {
    {Key::usb, apply_interface_switch, NUV_IFTYPE_USB2, disable,
     "%s: USB interface enabled", "%s: USB interface disabled"},
    {Key::usb3, apply_interface_switch, NUV_IFTYPE_USB3, disable,
     "%s: USB3 interface enabled", "%s: USB3 interface disabled"},
    {Key::me4, apply_interface_switch, NUV_IFTYPE_ME4, disable,
     "%s: ME4 interface enabled", "%s: ME4 interface disabled"},
    {Key::clhs_siso, apply_interface_switch, NUV_IFTYPE_CLHS_ME5, disable,
     "%s: CLHS_SISO interface enabled", "%s: CLHS_SISO interface disabled"},
    {Key::clhs_kaya, apply_interface_switch, NUV_IFTYPE_CLHS_KAYA, disable,
     "%s: CLHS_KAYA interface enabled", "%s: CLHS_KAYA interface disabled"},
    {Key::gige, apply_interface_switch, NUV_IFTYPE_GIGE, disable,
     "%s: GIGE interface enabled", "%s: GIGE interface disabled"},
    {Key::usb_scan, apply_interface_switch, NUV_IFTYPE_USB2, no_scan,
     "%s: USB interface scan enabled", "%s: USB interface scan disabled"},
    {Key::usb3_scan, apply_interface_switch, NUV_IFTYPE_USB3, no_scan,
     "%s: USB3 interface scan enabled", "%s: USB3 interface scan disabled"},
    {Key::clhs_siso_scan, apply_interface_switch, NUV_IFTYPE_CLHS_ME5, no_scan,
     "%s: CLHS_SISO interface scan enabled", "%s: CLHS_SISO interface scan disabled"},
    {Key::clhs_kaya_scan, apply_interface_switch, NUV_IFTYPE_CLHS_KAYA, no_scan,
     "%s: CLHS_KAYA interface scan enabled", "%s: CLHS_KAYA interface scan disabled"},
    {Key::gige_scan, apply_interface_switch, NUV_IFTYPE_GIGE, no_scan,
     "%s: GIGE interface scan enabled", "%s: GIGE interface scan disabled"},
    {Key::general_bits, apply_general_bits, 0, 0, "%s: m_general_bits set to %ds", nullptr},
    {Key::scan, apply_general_switch, 0, NUV_BIT_SCAN_OFF,
     "%s: scan thread enabled", "%s: scan thread disabled"},
    {Key::scantime, apply_scantime, 0, 0, "%s: scantime set to %dms", nullptr},
    {Key::difftime, apply_difftime, 0, 0, "%s: difftime set to %ds", nullptr},
};
// clang-format on

struct File_closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

/// Zero, or a negative number when the file cannot be opened or parsed.
int load(CSimpleIniA& parser, const char* path) {
    constexpr int cannot_open = -3;
    struct stat status {};
    if (stat(path, &status) == 0 && S_ISFIFO(status.st_mode)) {
        return cannot_open;  // fopen would wait for somebody to write
    }
    const std::unique_ptr<std::FILE, File_closer> file(std::fopen(path, "rb"));
    return file != nullptr ? static_cast<int>(parser.LoadFile(file.get())) : cannot_open;
}

}  // namespace

unsigned int CNuv_device_manager::get_parameter_from_inifile() {
    CSimpleIniA parser;
    constexpr int path_size = 1024;
    char path[path_size] = {};
    if (cini == nullptr) {
        return NUV_ERROR_NO_INI_LOCATOR;
    }
    if (const unsigned int missing = cini->get_ini_filename(path, path_size); missing != 0) {
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: no ini file found", op);
        return missing;
    }
    path[path_size - 1] = '\0';
    NUV_LOG(*this, NUV_LOG_TRACE, "%s: Load ini file %s", op, path);
    if (const int loaded = load(parser, path); loaded < 0) {
        NUV_LOG(*this, NUV_LOG_TRACE, "%s: loading file %s failed %d", op, path, loaded);
        return NUV_ERROR_INI_LOAD;
    }
    for (const Key_action& action : key_actions) {
        const nuvkit::Config_key& key = nuvkit::definition_of(action.key);
        if (const char* const value = parser.GetValue(key.section, key.name)) {
            action.apply(*this, action, value);
        }
    }
    return NUV_NOERROR;
}
