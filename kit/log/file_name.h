// A log file's name, from its pattern.
#pragma once

#include <string>

namespace nuv {

/// `%p` becomes this process's id and `%%` a percent sign; all else stays.
std::string expand_file_pattern(const std::string& pattern);

}  // namespace nuv
