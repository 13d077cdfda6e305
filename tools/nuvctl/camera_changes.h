// What has changed between two looks at the camera list.
#pragma once

#include "camera.h"

#include <string>
#include <vector>

namespace nuvctl {

enum class Change_kind { gone, appeared, renamed, closed, opened };

const char* word_of(Change_kind kind);

struct Change {
    Change_kind kind;
    Camera camera;       ///< as it is now, or as it was when it is gone
    std::string detail;  ///< in words, safe to print
};

/// Both lists as `cameras_in` gives them. Cameras are told apart by id and place.
std::vector<Change> changes_between(const std::vector<Camera>& before,
                                    const std::vector<Camera>& after);

/// One line without its end: "camera 3 opened: grabber and communication, by 1234 viewer".
std::string change_text(const Change& change);

/// Interface, serial number and names of a camera, safe to print.
std::string description(const NUV_Device& entry);

}  // namespace nuvctl
