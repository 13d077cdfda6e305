#include "line_text.h"

#include "this_writer.h"

#include <nuv/bits.h>

#include <algorithm>
#include <charconv>
#include <cstdio>

namespace nuv {
namespace {

constexpr unsigned int type_shift = 16;
constexpr unsigned int type_mask = 0x0FFF;

bool is_control(char byte) {
    return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F;
}

const char* class_name(unsigned int source) {
    switch (source) {
        case NUV_BIT_LOG_DEVICE_MANAGER:
            return "manager";
        case NUV_BIT_LOG_SHM_MANAGER:
            return "registry";
        case NUV_BIT_LOG_SEM_ACCESS:
            return "semaphore";
        default:
            return nullptr;
    }
}

}  // namespace

Line_text::Line_text(unsigned int level, unsigned int source, const char* format,
                     va_list arguments) {
    append_head(level, source);
    std::array<char, formatted_size> formatted;
    const int wanted = std::vsnprintf(formatted.data(), formatted.size(), format, arguments);
    if (wanted < 0) {
        append_escaped(std::string_view(format).substr(0, formatted_size - 1));
        return;
    }
    append_escaped({formatted.data(),
                    std::min<std::size_t>(static_cast<std::size_t>(wanted), formatted.size() - 1)});
}

void Line_text::append_head(unsigned int level, unsigned int source) {
    const Writer& from = this_writer();
    append_number(from.process, 10);
    append(":");
    append_number(from.thread, 10);
    append(" 0x");
    append_number(level, 16);
    append(" ");
    if (const char* name = class_name(source)) {
        append(name);
    } else if ((source & NUV_BIT_LOG_INTERFACE) != 0) {
        append("interface-");
        append_number((source >> type_shift) & type_mask, 10);
    } else {
        std::array<char, sizeof "0x12345678"> word;
        std::snprintf(word.data(), word.size(), "0x%08x", source);
        append(word.data());
    }
    append(" ");
}

void Line_text::append(std::string_view part) {
    length += part.copy(text.data() + length, text.size() - length);
}

template <class Number>
void Line_text::append_number(Number number, int base) {
    char* const end = text.data() + text.size();
    length = static_cast<std::size_t>(std::to_chars(text.data() + length, end, number, base).ptr -
                                      text.data());
}

void Line_text::append_escaped(std::string_view plain) {
    static constexpr char digits[] = "0123456789abcdef";
    for (const char byte : plain) {
        if (!is_control(byte)) {
            text[length++] = byte;
            continue;
        }
        text[length++] = '\\';
        if (byte == '\n' || byte == '\r' || byte == '\t') {
            text[length++] = byte == '\n' ? 'n' : byte == '\r' ? 'r' : 't';
            continue;
        }
        text[length++] = 'x';
        text[length++] = digits[static_cast<unsigned char>(byte) >> 4];
        text[length++] = digits[byte & 0x0F];
    }
}

}  // namespace nuv
