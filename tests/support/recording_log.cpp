#include "support/recording_log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <regex>
#include <sstream>

namespace nuv_test {
namespace {

std::mutex guard;
std::vector<Log_line> kept;  // guarded by `guard`

[[maybe_unused]] const bool keeps_all = [] {
    on_log_line([](const Log_line& line) {
        const std::lock_guard<std::mutex> hold(guard);
        kept.push_back(line);
    });
    return true;
}();

}  // namespace

Log_record::~Log_record() {
    if (!testing::Test::HasFailure()) {
        return;
    }
    for (const Log_line& line : lines()) {
        std::printf("  log %p level 0x%x source 0x%x: %s\n", static_cast<const void*>(line.log),
                    line.level, static_cast<unsigned int>(line.source), line.text.c_str());
    }
}

std::vector<Log_line> Log_record::lines() const {
    const std::lock_guard<std::mutex> hold(guard);
    return kept;
}

std::vector<std::string> Log_record::texts(const CNuv_Log* log) const {
    std::vector<std::string> found;
    for (const Log_line& line : lines()) {
        if (log == nullptr || line.log == log) {
            found.push_back(line.text);
        }
    }
    return found;
}

bool Log_record::contains(const std::string& part) const {
    const std::vector<Log_line> all = lines();
    return std::any_of(all.begin(), all.end(), [&](const Log_line& line) {
        return line.text.find(part) != std::string::npos;
    });
}

void Log_record::clear() {
    const std::lock_guard<std::mutex> hold(guard);
    kept.clear();
}

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

}  // namespace nuv_test
