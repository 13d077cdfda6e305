// What every verb that only looks understands, and what it prints in consequence.
#pragma once

#include "registry_view.h"

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace CLI {
class App;
}

namespace nuvctl {

struct Reading_options {
    bool json = false;
    bool no_headings = false;
    std::string color = "auto";
};

void add_reading_options(CLI::App& arguments, Reading_options& options);
/// That one alone.
void add_color_option(CLI::App& arguments, Reading_options& options);

bool is_terminal_output();
/// Nobody reads standard output any more.
bool is_output_closed();
bool wants_color(const Reading_options& options);

/// Of every JSON answer. Members are added without a new one, and none is ever taken away.
constexpr int schema_version = 1;

void print_json(const nlohmann::ordered_json& document);
/// On one line, at once.
void print_json_line(const nlohmann::ordered_json& document);

}  // namespace nuvctl
