#include "registry_report.h"

#include "json_output.h"

#include <iostream>
#include <nlohmann/json.hpp>

namespace nuvctl {
namespace {

const char* state_name(Registry_state state) {
    switch (state) {
        case Registry_state::live:
            return "live";
        case Registry_state::stale:
            return "stale";
        case Registry_state::absent:
            return "absent";
        case Registry_state::no_permission:
            return "no_permission";
        case Registry_state::too_short:
            return "too_short";
        case Registry_state::wrong_version:
            return "wrong_version";
        case Registry_state::unreadable:
            break;
    }
    return "unreadable";
}

}  // namespace

Exit exit_code_for(Registry_state state) {
    switch (state) {
        case Registry_state::live:
            return Exit::done;
        case Registry_state::stale:
        case Registry_state::absent:
            return Exit::no_registry;
        case Registry_state::no_permission:
            return Exit::permission;
        default:
            return Exit::failure;
    }
}

void report_problem(const Registry_view& view) {
    if (!view.problem.empty()) {
        std::cerr << "nuvctl: " << view.problem << '\n';
    }
}

nlohmann::ordered_json json_answer(const Registry_view& view) {
    nlohmann::ordered_json answer = {{"schema_version", schema_version},
                                     {"registry", state_name(view.state)},
                                     {"problem", nullptr}};
    if (!view.problem.empty()) {
        answer["problem"] = view.problem;
    }
    return answer;
}

}  // namespace nuvctl
