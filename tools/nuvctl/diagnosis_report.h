// How diagnoses are put.
#pragma once

#include "health.h"

#include <nlohmann/json_fwd.hpp>
#include <vector>

namespace nuvctl {

/// One paragraph a check: verdict, name, facts, and what to type.
void print_diagnoses(const std::vector<Diagnosis>& diagnoses, bool colors);
nlohmann::ordered_json diagnoses_to_json(const Facts& facts,
                                         const std::vector<Diagnosis>& diagnoses);

}  // namespace nuvctl
