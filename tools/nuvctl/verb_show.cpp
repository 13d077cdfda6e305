#include "camera.h"
#include "camera_changes.h"
#include "iftype_text.h"
#include "joined.h"
#include "json_output.h"
#include "process_text.h"
#include "reading_options.h"
#include "registry_report.h"
#include "safe_text.h"
#include "selector.h"
#include "table.h"
#include "verb.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

namespace nuvctl {
namespace {

struct Request {
    Reading_options options;
    Selector selector;
};

std::string interface_text(std::uint16_t iftype) {
    const auto name = display_name(iftype);
    return short_name(iftype) + " (code " + std::to_string(iftype) + (name ? ", " + *name : "") +
           ")";
}

std::string status_text(std::uint32_t bits) {
    const std::vector<std::string> words = status_words(bits);
    return std::to_string(bits) + " (" + (words.empty() ? "none" : joined(words, ", ")) + ")";
}

Table table_of(const Camera& camera) {
    const NUV_Device& entry = camera.entry;
    Table table;
    table.columns = {{""}, {""}};
    const auto add = [&table](const char* title, const std::string& text) {
        table.rows.push_back({{title, Color::bold}, {text}});
    };
    add("Id", std::to_string(entry.id));
    add("Serial number", std::to_string(entry.serialnumber));
    add("Name", safe_text(camera_name(entry)));
    add("Interface", interface_text(entry.nuv_iftype));
    add("Interface name", safe_text(interface_name(entry)));
    add("State", state_word(entry.status_bits));
    add("Status bits", status_text(entry.status_bits));
    add("Holder", holder_details(nuvkit::holder_of(entry)));
    add("Extended info", extended_info_text(entry));
    add("Back-end data", backend_data_text(entry));
    add("Back-end words",
        std::to_string(entry.backend_word_a) + ", " + std::to_string(entry.backend_word_b));
    add("Entry",
        std::to_string(camera.index) + " of the list, mark " + std::to_string(entry.entry_mark));
    return table;
}

/// Says why there is not one camera to show; empty when there is one.
std::string refusal(const std::vector<Camera>& found, const Selector& selector) {
    const std::string name = "\"" + safe_text(selector.text) + "\"";
    if (found.empty()) {
        return "the registry has no camera " + name;
    }
    if (found.size() == 1) {
        return "";
    }
    std::string text = name + " is " + std::to_string(found.size()) + " cameras; name one of:";
    for (const Camera& camera : found) {
        text += "\n  " + std::to_string(camera.entry.id) + "  " + description(camera.entry);
    }
    return text;
}

Exit show(const Request& request) {
    const Registry_view view = look_at_registry();
    report_problem(view);
    std::vector<Camera> found;
    std::string problem;
    Exit code = exit_code_for(view.state);
    if (view.bytes) {
        found = selected(cameras_in(*view.bytes), request.selector);
        problem = refusal(found, request.selector);
    }
    if (!problem.empty()) {
        std::cerr << "nuvctl: " << problem << '\n';
        const Exit reason = found.empty() ? Exit::not_found : Exit::failure;
        code = code == Exit::done ? reason : code;
    }
    if (request.options.json) {
        nlohmann::ordered_json answer = json_answer(view);
        if (!problem.empty() && answer["problem"].is_null()) {
            answer["problem"] = problem;
        }
        answer["cameras"] = cameras_to_json(found);
        print_json(answer);
    } else if (found.size() == 1) {
        table_of(found[0]).print(false, wants_color(request.options), 0);
    }
    return code;
}

}  // namespace

Action declare_show(CLI::App& arguments) {
    auto request = std::make_shared<Request>();
    add_selector(arguments, request->selector);
    add_reading_options(arguments, request->options);
    arguments.footer(
        "Exit code 3 when no camera is selected; 1 when several are, which are then listed as a\n"
        "message. With --json all that are selected are printed, in \"cameras\".\n"
        "Examples:\n"
        "  nuvctl show 3\n"
        "  nuvctl show sn:21001 --json | jq '.cameras[0].holder'\n"
        "  nuvctl show 'Left eye'");
    return [request] { return show(*request); };
}

}  // namespace nuvctl
