// How a user names cameras.
#pragma once

#include "camera.h"

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace nuvctl {

/// A registry id, `sn:` and a serial number, a camera's name, or the short name of an interface. A
/// text that is both a name and an interface selects the cameras of both.
struct Selector {
    std::string text;
};

void add_selector(CLI::App& arguments, Selector& selector);

std::vector<Camera> selected(const std::vector<Camera>& cameras, const Selector& selector);

}  // namespace nuvctl
