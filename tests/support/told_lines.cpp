#include "support/told_lines.h"

#include <fstream>
#include <regex>
#include <sstream>

namespace nuv_test {

std::string told(const Log_record& record, const Replacements& changing) {
    std::string all;
    for (const Log_line& line : record.lines()) {
        std::ostringstream whole;
        whole << std::hex << line.source << ' ' << line.level << ' ' << line.text;
        std::string text = whole.str();
        for (const auto& [expression, instead] : changing) {
            text = std::regex_replace(text, std::regex(expression), instead);
        }
        all += text.empty() ? "" : text + '\n';
    }
    return all;
}

std::string text_of_file(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

}  // namespace nuv_test
