// Processes in words.
#pragma once

#include "process.h"

#include <nuvkit/holder.h>

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace nuvctl {

/// "1234 viewer", safe to print.
std::string process_text(const Process& process);
nlohmann::ordered_json process_to_json(const Process& process);

/// "1234 viewer", or "1234 gone"; "-" for nobody.
std::string holder_text(const nuvkit::Holder& holder);
/// With the user and the process's start: "1234 viewer (ann, since 14:03)".
std::string holder_details(const nuvkit::Holder& holder);
/// Null for nobody.
nlohmann::ordered_json holder_to_json(const nuvkit::Holder& holder);

}  // namespace nuvctl
