#include "json_output.h"

#include <iostream>
#include <nlohmann/json.hpp>
#include <string>

namespace nuvctl {
namespace {

std::string json_text(const nlohmann::ordered_json& document, int indentation) {
    constexpr bool ascii_only = true;  // so that no name can reach the terminal as it is
    return document.dump(indentation, ' ', ascii_only,
                         nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace

void print_json(const nlohmann::ordered_json& document) {
    std::cout << json_text(document, 2) << '\n';
}

void print_json_line(const nlohmann::ordered_json& document) {
    std::cout << json_text(document, -1) << std::endl;
}

}  // namespace nuvctl
