#include "seconds.h"

#include <cstdint>
#include <sstream>
#include <string>

namespace nuvctl {

CLI::Validator seconds_between(double least, double most) {
    const auto mistake_in = [least, most](const std::string& text) {
        double seconds = 0;
        if (CLI::detail::lexical_cast(text, seconds) && seconds >= least && seconds <= most) {
            return std::string();
        }
        std::ostringstream mistake;
        mistake << text << " is no number of seconds from " << least << " to " << most;
        return mistake.str();
    };
    return CLI::Validator("").operation(mistake_in);
}

std::chrono::milliseconds milliseconds_of(double seconds) {
    return std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000));
}

}  // namespace nuvctl
