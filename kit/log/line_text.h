// What a log line says behind its time: process, thread, level, source, text.
#pragma once

#include <array>
#include <cstdarg>
#include <cstddef>
#include <string_view>

namespace nuv {

/// Composed on the stack: a line must not need memory that may have run out.
class Line_text {
public:
    Line_text(unsigned int level, unsigned int source, const char* format, va_list arguments);

    std::string_view view() const { return {text.data(), length}; }

private:
    static constexpr std::size_t formatted_size = 1024;
    static constexpr std::size_t head_size = 64;
    static constexpr std::size_t longest_escape = 4;

    void append_head(unsigned int level, unsigned int source);
    void append(std::string_view part);
    template <class Number>
    void append_number(Number number, int base);
    void append_escaped(std::string_view plain);

    std::array<char, head_size + longest_escape * formatted_size> text;
    std::size_t length = 0;
};

}  // namespace nuv
