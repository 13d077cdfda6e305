// What all reading verbs say about the registry as a whole.
#pragma once

#include "exit_code.h"
#include "registry_view.h"

#include <nlohmann/json_fwd.hpp>

namespace nuvctl {

Exit exit_code_for(Registry_state state);

/// Writes the view's problem, if it has one, to standard error.
void report_problem(const Registry_view& view);

/// The object that every JSON answer starts from: schema version, the registry's state, and the
/// problem in words or null.
nlohmann::ordered_json json_answer(const Registry_view& view);

}  // namespace nuvctl
