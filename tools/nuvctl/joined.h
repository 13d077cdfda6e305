// Lists in words.
#pragma once

#include <string>
#include <vector>

namespace nuvctl {

std::string joined(const std::vector<std::string>& words, const char* separator);

}  // namespace nuvctl
