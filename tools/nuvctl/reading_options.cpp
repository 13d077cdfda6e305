#include "reading_options.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <iostream>
#include <nlohmann/json.hpp>

namespace nuvctl {

void add_reading_options(CLI::App& arguments, Reading_options& options) {
    arguments.add_flag("--json", options.json, "Print one JSON object; it has a schema_version");
    arguments.add_flag("--no-headings", options.no_headings, "Leave out headings");
    arguments.add_option("--color", options.color, "auto, always or never")
        ->check(CLI::IsMember({"auto", "always", "never"}))
        ->capture_default_str();
}

bool is_terminal_output() {
    return isatty(STDOUT_FILENO) == 1;
}

bool wants_color(const Reading_options& options) {
    if (options.color == "auto") {
        return is_terminal_output() && std::getenv("NO_COLOR") == nullptr;
    }
    return options.color == "always";
}

void print_json(const nlohmann::ordered_json& document) {
    constexpr bool ascii_only = true;  // so that no name can reach the terminal as it is
    std::cout << document.dump(2, ' ', ascii_only, nlohmann::ordered_json::error_handler_t::replace)
              << '\n';
}

}  // namespace nuvctl
