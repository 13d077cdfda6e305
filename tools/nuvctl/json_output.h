// How JSON answers are printed.
#pragma once

#include <nlohmann/json_fwd.hpp>

namespace nuvctl {

/// Of every JSON answer. Members are added without a new one, and none is ever taken away.
constexpr int schema_version = 1;

void print_json(const nlohmann::ordered_json& document);
/// On one line, at once.
void print_json_line(const nlohmann::ordered_json& document);

}  // namespace nuvctl
