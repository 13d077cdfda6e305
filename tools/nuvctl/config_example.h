// An INI file to begin with.
#pragma once

#include <string>

namespace nuvctl {

/// A commented INI file in which every key stands with its default.
std::string example_config();

}  // namespace nuvctl
