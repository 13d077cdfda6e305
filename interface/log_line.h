// How every class of the library composes a line and asks whether anybody will hear it.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstring>

class CNuv_Log;

namespace nuv {

/// A class prefix and a text behind it, cut to 299 characters. Lives on the stack; allocates
/// nothing.
class Log_line {
public:
    Log_line(const char* prefix, const char* format, va_list arguments);

    /// Hands the line over as a format that prints as just this text.
    void hand_to(CNuv_Log& log, unsigned int level, unsigned int source) const;

private:
    static constexpr std::size_t size = 300;
    char text[size];
};

/// The system's text for an error number; null when it has none.
inline const char* error_text(int error) {
    const char* const text = std::strerror(error);
    return text != nullptr && *text != '\0' ? text : nullptr;
}

}  // namespace nuv

/// Writes a line through `object` if anybody listens. When nobody does, it costs the test: no
/// argument is evaluated. `nuv::listens` has an overload for each class.
#define NUV_LOG(object, level, ...) NUV_LOG_BY(writelog, object, level, __VA_ARGS__)

/// The same through an operation of another name.
#define NUV_LOG_BY(wrapper, object, level, ...)     \
    do {                                            \
        if (nuv::listens(object)) {                 \
            (object).wrapper((level), __VA_ARGS__); \
        }                                           \
    } while (false)

/// Writes a line that ends with the text of a system error, or with its number when the system has
/// no text for it; what stands before it in both formats comes behind them.
#define NUV_LOG_ERROR_NUMBER(object, level, error, text_format, number_format, ...)   \
    do {                                                                              \
        if (nuv::listens(object)) {                                                   \
            const int error_number = (error);                                         \
            if (const char* const explanation = nuv::error_text(error_number)) {      \
                (object).writelog((level), text_format, __VA_ARGS__, explanation);    \
            } else {                                                                  \
                (object).writelog((level), number_format, __VA_ARGS__, error_number); \
            }                                                                         \
        }                                                                             \
    } while (false)
