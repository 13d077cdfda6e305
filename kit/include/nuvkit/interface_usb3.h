/// \file
/// The back-end for USB 3 cameras.
#pragma once

#include <nuvkit/backend.h>

/// Its cameras are the bench's. Everything else is as the base class says.
class NUV_EXPORT CNuv_interface_usb3 : public nuvkit::Backend {
public:
    /// \copydoc nuvkit::Backend::Backend
    CNuv_interface_usb3(CNuv_Log* log, unsigned int general_bits);
};
