#include "reading_options.h"

#include <poll.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <iostream>
#include <nlohmann/json.hpp>

namespace nuvctl {
namespace {

std::string json_text(const nlohmann::ordered_json& document, int indentation) {
    constexpr bool ascii_only = true;  // so that no name can reach the terminal as it is
    return document.dump(indentation, ' ', ascii_only,
                         nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace

void add_reading_options(CLI::App& arguments, Reading_options& options) {
    arguments.add_flag("--json", options.json, "Print one JSON object; it has a schema_version");
    arguments.add_flag("--no-headings", options.no_headings, "Leave out headings");
    add_color_option(arguments, options);
}

void add_color_option(CLI::App& arguments, Reading_options& options) {
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

bool is_output_closed() {
    pollfd output{STDOUT_FILENO, 0, 0};
    return poll(&output, 1, 0) > 0 && (output.revents & (POLLERR | POLLHUP)) != 0;
}

void print_json(const nlohmann::ordered_json& document) {
    std::cout << json_text(document, 2) << '\n';
}

void print_json_line(const nlohmann::ordered_json& document) {
    std::cout << json_text(document, -1) << std::endl;
}

}  // namespace nuvctl
