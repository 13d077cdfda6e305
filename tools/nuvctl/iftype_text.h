// Interface types in words.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

namespace nuvctl {

/// As in the inventory of cameras; the code itself for types that no back-end serves.
std::string short_name(std::uint16_t iftype);
/// Nothing for a code outside the table.
std::optional<std::string> display_name(std::uint16_t iftype);
nlohmann::ordered_json iftype_to_json(std::uint16_t iftype);

}  // namespace nuvctl
