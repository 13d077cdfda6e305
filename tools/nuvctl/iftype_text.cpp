#include "iftype_text.h"

#include <nuv/iftype.h>

#include <string.h>

#include <nlohmann/json.hpp>

namespace nuvctl {

std::string short_name(std::uint16_t iftype) {
    switch (iftype) {
        case NUV_IFTYPE_USB2:
            return "USB2";
        case NUV_IFTYPE_USB3:
            return "USB3";
        case NUV_IFTYPE_ME4:
            return "ME4";
        case NUV_IFTYPE_CLHS_ME5:
            return "CLHS_SISO";
        case NUV_IFTYPE_CLHS_KAYA:
            return "CLHS_KAYA";
        case NUV_IFTYPE_GIGE:
            return "GIGE";
        default:
            return std::to_string(iftype);
    }
}

std::optional<std::string> display_name(std::uint16_t iftype) {
    if (iftype >= NUV_IFTYPE_COUNT) {
        return std::nullopt;
    }
    const char* name = iftype_names[iftype];
    return std::string(name, strnlen(name, NUV_IFTYPE_NAME_SIZE));
}

nlohmann::ordered_json iftype_to_json(std::uint16_t iftype) {
    const std::optional<std::string> name = display_name(iftype);
    return {
        {"code", iftype},
        {"short_name", short_name(iftype)},
        {"display_name", name ? nlohmann::ordered_json(*name) : nlohmann::ordered_json(nullptr)}};
}

}  // namespace nuvctl
