#include "selector.h"

#include "iftype_text.h"
#include "safe_text.h"

#include <strings.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <iterator>
#include <optional>
#include <string_view>

namespace nuvctl {
namespace {

constexpr std::string_view serial_prefix = "sn:";

std::optional<std::uint32_t> number_in(std::string_view text) {
    std::uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

bool starts_with_serial_prefix(std::string_view text) {
    return text.substr(0, serial_prefix.size()) == serial_prefix;
}

/// The name as it is, or as tables show it.
bool has_name(const NUV_Device& entry, const std::string& name) {
    const std::string own = camera_name(entry);
    return own == name || safe_text(own) == name;
}

bool matches(const NUV_Device& entry, const std::string& text) {
    if (starts_with_serial_prefix(text)) {
        return number_in(text.substr(serial_prefix.size())) == +entry.serialnumber;
    }
    if (const auto id = number_in(text)) {
        return *id == entry.id;
    }
    return has_name(entry, text) ||
           strcasecmp(short_name(entry.nuv_iftype).c_str(), text.c_str()) == 0;
}

std::string mistake_in(const std::string& text) {
    if (text.empty()) {
        return "a selector is not empty";
    }
    if (starts_with_serial_prefix(text) && !number_in(text.substr(serial_prefix.size()))) {
        return "a serial number is a number from 0 to 4294967295";
    }
    return "";
}

}  // namespace

void add_selector(CLI::App& arguments, Selector& selector) {
    arguments
        .add_option("selector", selector.text,
                    "A registry id, sn:SERIAL, a camera's name, or an interface such as USB3")
        ->required()
        ->check(mistake_in)
        ->type_name("SELECTOR");
}

std::vector<Camera> selected(const std::vector<Camera>& cameras, const Selector& selector) {
    std::vector<Camera> found;
    std::copy_if(cameras.begin(), cameras.end(), std::back_inserter(found),
                 [&](const Camera& camera) { return matches(camera.entry, selector.text); });
    return found;
}

}  // namespace nuvctl
