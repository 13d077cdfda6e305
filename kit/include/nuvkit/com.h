/// \file
/// A camera's communication device: control.
#pragma once

#include <cstdint>

/// Handed out and deleted by the back-end that made it.
class CNuv_com {
public:
    /// A handle for the camera with this serial number.
    explicit CNuv_com(std::uint32_t camera_serialnumber) : serialnumber(camera_serialnumber) {}

    const std::uint32_t serialnumber;  ///< the camera's; any thread may read it
};
