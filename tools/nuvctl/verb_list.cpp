#include "camera_table.h"
#include "json_output.h"
#include "reading_options.h"
#include "registry_report.h"
#include "terminal.h"
#include "verb.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

namespace nuvctl {
namespace {

Exit list(const Reading_options& options) {
    const Registry_view view = look_at_registry();
    report_problem(view);
    const std::vector<Camera> cameras =
        view.bytes ? cameras_in(*view.bytes) : std::vector<Camera>();
    if (options.json) {
        nlohmann::ordered_json answer = json_answer(view);
        answer["cameras"] = cameras_to_json(cameras);
        print_json(answer);
    } else if (!cameras.empty()) {
        camera_table(cameras).print(!options.no_headings, wants_color(options), table_width());
    } else if (view.bytes && is_terminal_output()) {
        std::cerr << "nuvctl: the registry holds no cameras\n";
    }
    return exit_code_for(view.state);
}

}  // namespace

Action declare_list(CLI::App& arguments) {
    auto options = std::make_shared<Reading_options>();
    add_reading_options(arguments, *options);
    arguments.footer(
        "A stale registry is listed all the same, with a message and exit code 7.\n"
        "Examples:\n"
        "  nuvctl                       the cameras of this machine\n"
        "  nuvctl list --json | jq '.cameras[] | select(.holder != null) | .id'");
    return [options] { return list(*options); };
}

}  // namespace nuvctl
