// A camera's communication device: control.
#pragma once

#include <cstdint>

/// Handed out and deleted by the back-end that made it.
class CNuv_com {
public:
    explicit CNuv_com(std::uint32_t camera_serialnumber) : serialnumber(camera_serialnumber) {}

    const std::uint32_t serialnumber;
};
