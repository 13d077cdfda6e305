// A log as text, to be compared with a file of the lines that are documented.
#pragma once

#include "support/recording_log.h"

#include <string>
#include <utility>
#include <vector>

namespace nuv_test {

/// Regular expressions, and what stands for what they match.
using Replacements = std::vector<std::pair<std::string, std::string>>;

/// Each recorded line as "20000000 2 TEXT", its source and its level before it, and without what
/// differs from run to run. A line of which nothing is left is left out.
std::string told(const Log_record& record, const Replacements& changing);

std::string text_of_file(const std::string& path);

}  // namespace nuv_test
