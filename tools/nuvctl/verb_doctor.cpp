#include "diagnosis_report.h"
#include "json_output.h"
#include "reading_options.h"
#include "verb.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>

namespace nuvctl {
namespace {

Exit doctor(const Reading_options& options) {
    const Facts facts = collect_facts();
    const std::vector<Diagnosis> diagnoses = diagnose(facts);
    if (options.json) {
        print_json(diagnoses_to_json(facts, diagnoses));
    } else {
        print_diagnoses(diagnoses, wants_color(options));
    }
    if (worst_of(diagnoses) == Verdict::problem) {
        return Exit::failure;
    }
    return facts.view().state == Registry_state::absent ? Exit::no_registry : Exit::done;
}

}  // namespace

Action declare_doctor(CLI::App& arguments) {
    auto options = std::make_shared<Reading_options>();
    add_reading_options(arguments, *options);
    arguments.footer(
        "Looks only, and takes up to a few seconds when something is held. Behind each warning "
        "and\n"
        "problem stands what to type. As root it sees the processes of all users.\n"
        "Exit codes: 1 when there is a problem, 7 when there is none but no registry either, else\n"
        "0, warnings or not.\n"
        "Examples:\n"
        "  sudo nuvctl doctor\n"
        "  nuvctl doctor --json | jq '.checks[] | select(.verdict != \"ok\")'");
    return [options] { return doctor(*options); };
}

}  // namespace nuvctl
