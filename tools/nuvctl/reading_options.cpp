#include "reading_options.h"

#include "terminal.h"

#include <CLI/CLI.hpp>
#include <cstdlib>

namespace nuvctl {

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

bool wants_color(const Reading_options& options) {
    if (options.color == "auto") {
        return is_terminal_output() && std::getenv("NO_COLOR") == nullptr;
    }
    return options.color == "always";
}

}  // namespace nuvctl
