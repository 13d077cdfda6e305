// Processes in words.
#pragma once

#include <nuvkit/holder.h>

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace nuvctl {

/// The command of a living process, as it is and not made safe; empty when it can't be read.
std::string command_of(std::int32_t process_id);

/// "1234 viewer", or "1234 gone"; "-" for nobody.
std::string holder_text(const nuvkit::Holder& holder);
/// Null for nobody.
nlohmann::ordered_json holder_to_json(const nuvkit::Holder& holder);

}  // namespace nuvctl
