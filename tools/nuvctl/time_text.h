// Moments and durations in words.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace nuvctl {

/// Local date and time of day; the bare number when it is no date.
std::string time_text(std::int64_t seconds);
/// The time of day of a moment of today, the date of any other.
std::string short_time_text(std::int64_t seconds);
/// "0.2 s"
std::string seconds_text(std::chrono::milliseconds time);

}  // namespace nuvctl
