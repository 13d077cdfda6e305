// Cameras as a table for people.
#pragma once

#include "camera.h"
#include "table.h"

#include <vector>

namespace nuvctl {

/// One row a camera.
Table camera_table(const std::vector<Camera>& cameras);

}  // namespace nuvctl
