#include "config_example.h"

#include "config_file.h"

#include <nuvkit/config_keys.h>

namespace nuvctl {
namespace {

constexpr char opening[] =
    "; Device manager: every key with its default. Comments stand on lines of their own.\n"
    "; Put this file into /etc/nuv, ~/.config/nuv or a folder that NUV_INI_PATH names.\n"
    "; nuvctl config --check says what in it is not understood.\n";

/// A section [LOG] asks for a log, so its lines are an offer only.
constexpr char log_offer[] =
    "; Without the section LOG there is no log. Take away the ; before its lines for one, and set\n"
    "; General_Bits to 0xF0000000 for all there is to see.\n";

std::string value_of(const nuvkit::Config_key& key) {
    const Setting setting{&key, std::nullopt, 0};
    switch (key.kind) {
        case nuvkit::Value_kind::on_off:
            return key.fallback != 0 ? "enabled" : "disabled";
        case nuvkit::Value_kind::bits:
            return setting.value_text();
        case nuvkit::Value_kind::number:
            return std::to_string(key.fallback);
        case nuvkit::Value_kind::text:
            break;
    }
    return "";
}

/// Unit and limits, where there are any: " (ms, 500 to 3600000)".
std::string range_text(const nuvkit::Config_key& key) {
    if (key.kind != nuvkit::Value_kind::number) {
        return "";
    }
    std::string text = key.unit;
    if (key.most != nuvkit::config_limits::none) {
        text += (text.empty() ? "" : ", ") + std::to_string(key.least) + " to " +
                std::to_string(key.most);
    }
    return " (" + text + ")";
}

}  // namespace

std::string example_config() {
    std::string text = opening;
    std::string section;
    for (const nuvkit::Config_key& key : nuvkit::config_keys) {
        const bool offer = key.key >= nuvkit::Key::log_level;
        const std::string start = offer ? ";" : "";
        if (section != key.section) {
            section = key.section;
            text += (offer ? std::string("\n") + log_offer : "\n") + start + "[" + section + "]\n";
        }
        const std::string value = value_of(key);
        text += std::string("; ") + key.meaning + range_text(key) + "\n" + start + key.name +
                (value.empty() ? " =" : " = " + value) + "\n";
    }
    return text;
}

}  // namespace nuvctl
