#include "camera.h"
#include "iftype_text.h"
#include "process_text.h"
#include "reading_options.h"
#include "registry_report.h"
#include "safe_text.h"
#include "table.h"
#include "verb.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

namespace nuvctl {
namespace {

Color color_of(std::uint32_t status_bits) {
    if (!(status_bits & NUV_STATUS_PRESENT)) {
        return Color::red;
    }
    const bool open = status_bits & (NUV_STATUS_GRAB_OPEN | NUV_STATUS_COM_OPEN);
    return open ? Color::yellow : Color::green;
}

Cell name_cell(const std::string& name) {
    return {name.empty() ? "-" : safe_text(name)};
}

std::vector<Cell> row_of(const Camera& camera) {
    const NUV_Device& entry = camera.entry;
    return {{std::to_string(entry.id)},
            {short_name(entry.nuv_iftype)},
            {std::to_string(entry.serialnumber)},
            name_cell(camera_name(entry)),
            name_cell(interface_name(entry)),
            {state_word(entry.status_bits), color_of(entry.status_bits)},
            {holder_details(nuvkit::holder_of(entry))}};
}

void print_table(const std::vector<Camera>& cameras, const Reading_options& options) {
    if (cameras.empty()) {
        if (is_terminal_output()) {
            std::cerr << "nuvctl: the registry holds no cameras\n";
        }
        return;
    }
    Table table;
    table.columns = {{"ID", true},
                     {"IF"},
                     {"SERIAL", true},
                     {"NAME", false, 8},
                     {"INTERFACE NAME", false, 8},
                     {"STATE"},
                     {"HOLDER", false, 12}};
    for (const Camera& camera : cameras) {
        table.rows.push_back(row_of(camera));
    }
    table.print(!options.no_headings, wants_color(options), terminal_width());
}

Exit list(const Reading_options& options) {
    const Registry_view view = look_at_registry();
    report_problem(view);
    const std::vector<Camera> cameras =
        view.bytes ? cameras_in(*view.bytes) : std::vector<Camera>();
    if (!options.json) {
        print_table(cameras, options);
        return exit_code_for(view.state);
    }
    nlohmann::ordered_json answer = json_answer(view);
    answer["cameras"] = nlohmann::ordered_json::array();
    for (const Camera& camera : cameras) {
        answer["cameras"].push_back(camera_to_json(camera));
    }
    print_json(answer);
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
