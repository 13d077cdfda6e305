/// \file
/// How the device manager's INI file is read: one meaning of a switch and of a number for everybody
/// who reads it. All inline, since another library may take the place of the one that finds the
/// file.
#pragma once

#include <cstdlib>
#include <cstring>

namespace nuvkit {

/// Decimal, hexadecimal behind 0x, octal behind 0; up to the first character that does not fit.
/// Blanks and a sign may stand in front; behind a minus a number is counted down from the largest
/// one plus 1. A value without a digit there is 0, one that is too large the largest number.
inline unsigned long read_number(const char* value) {
    return std::strtoul(value, nullptr, 0);
}

/// On when the value contains "ena", else off when it contains "dis", else on when the number that
/// it starts with is not 0. Lower case only.
inline bool read_switch(const char* value) {
    if (std::strstr(value, "ena") != nullptr) {
        return true;
    }
    return std::strstr(value, "dis") == nullptr && read_number(value) != 0;
}

}  // namespace nuvkit
