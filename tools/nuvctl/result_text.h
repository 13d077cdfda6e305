// Result codes in words.
#pragma once

#include <string>

namespace nuvctl {

/// "0x80004001 (the camera is in use)".
std::string result_text(unsigned int code);

}  // namespace nuvctl
