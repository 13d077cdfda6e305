// A terminal that is redrawn in place.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace nuvctl {

struct Screen_size {
    std::size_t columns = 80;
    std::size_t rows = 24;
};

/// The size of the terminal that standard output is.
Screen_size screen_size();

/// Takes the terminal's second screen and hides the cursor while it lives; what was there before
/// comes back with its end.
class Screen {
public:
    Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;
    ~Screen();

    /// Lines that are too long or too many are cut off.
    void draw(const std::vector<std::string>& lines);
};

}  // namespace nuvctl
