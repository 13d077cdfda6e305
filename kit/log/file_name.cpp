#include "file_name.h"

#include <unistd.h>

namespace nuv {

std::string expand_file_pattern(const std::string& pattern) {
    std::string name;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const char next = i + 1 < pattern.size() ? pattern[i + 1] : '\0';
        if (pattern[i] != '%' || (next != 'p' && next != '%')) {
            name += pattern[i];
            continue;
        }
        name += next == 'p' ? std::to_string(getpid()) : "%";
        ++i;
    }
    return name;
}

}  // namespace nuv
