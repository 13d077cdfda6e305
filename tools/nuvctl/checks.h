// The checks that `doctor` makes, each a function of the facts.
#pragma once

#include "health.h"

#include <optional>

namespace nuvctl {

// Whether there is a registry that can be used, and by whom.
std::optional<Finding> check_registry(const Facts& facts);
std::optional<Finding> check_format(const Facts& facts);
std::optional<Finding> check_name(const Facts& facts);
std::optional<Finding> check_namespaces(const Facts& facts);
std::optional<Finding> check_access(const Facts& facts);

// Whether it is alive.
std::optional<Finding> check_heartbeat(const Facts& facts);
std::optional<Finding> check_semaphores(const Facts& facts);
std::optional<Finding> check_managers(const Facts& facts);

// Whether what it holds is true, and what managers are told.
std::optional<Finding> check_holders(const Facts& facts);
std::optional<Finding> check_serial_numbers(const Facts& facts);
std::optional<Finding> check_configuration(const Facts& facts);

}  // namespace nuvctl
