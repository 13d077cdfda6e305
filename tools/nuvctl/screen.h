// A terminal that is redrawn in place.
#pragma once

#include <string>
#include <vector>

namespace nuvctl {

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
