// A whole file.
#pragma once

#include <fstream>
#include <sstream>
#include <string>

namespace nuv_test {

inline std::string text_of_file(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

}  // namespace nuv_test
