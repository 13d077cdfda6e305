// A camera as the registry describes it.
#pragma once

#include "registry_view.h"

#include <nuv/device.h>

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace nuvctl {

/// An entry of the device list together with its place in it.
struct Camera {
    int index = 0;
    NUV_Device entry = {};
};

/// Every entry that holds a camera, unplugged ones included, by ascending id.
std::vector<Camera> cameras_in(const NUV_Devlist_Shm& registry);

/// The names as they stand in the entry: bounded, but not made safe for a terminal.
std::string camera_name(const NUV_Device& entry);
std::string interface_name(const NUV_Device& entry);

/// "unplugged", "present", "grabber open", "com open", or "open" for both.
std::string state_word(std::uint32_t status_bits);

/// "present", "grabber_open", "com_open", as many as hold.
std::vector<std::string> status_words(std::uint32_t status_bits);
std::string extended_info_text(const NUV_Device& entry);
std::string backend_data_text(const NUV_Device& entry);

nlohmann::ordered_json camera_to_json(const Camera& camera);
nlohmann::ordered_json cameras_to_json(const std::vector<Camera>& cameras);

}  // namespace nuvctl
