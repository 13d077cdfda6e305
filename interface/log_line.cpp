#include "interface/log_line.h"

#include <nuvkit/log.h>

#include <cstdio>

namespace nuv {
namespace {

void escape_percent_signs(const char* text, char* escaped) {
    for (const char* c = text; *c != '\0'; ++c) {
        if (*c == '%') {
            *escaped++ = '%';
        }
        *escaped++ = *c;
    }
    *escaped = '\0';
}

}  // namespace

Log_line::Log_line(const char* prefix, const char* format, va_list arguments) {
    const std::size_t prefix_length = std::strlen(prefix);
    std::memcpy(text, prefix, prefix_length + 1);
    std::vsnprintf(text + prefix_length, size - prefix_length, format, arguments);
}

void Log_line::hand_to(CNuv_Log& log, unsigned int level, unsigned int source) const {
    char escaped[2 * size];
    const char* format = text;
    if (std::strchr(text, '%') != nullptr) {
        escape_percent_signs(text, escaped);
        format = escaped;
    }
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"  // no percent sign in it stands alone
    log.writelog(level, static_cast<int>(source), format);
#pragma GCC diagnostic pop
}

}  // namespace nuv
