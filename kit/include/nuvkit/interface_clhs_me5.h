/// \file
/// The back-end for Camera Link HS, ME5 frame grabber cameras.
#pragma once

#include <nuvkit/backend.h>

/// Its cameras are the bench's. Everything else is as the base class says.
class NUV_EXPORT CNuv_interface_clhs_me5 : public nuvkit::Backend {
public:
    /// \copydoc nuvkit::Backend::Backend
    CNuv_interface_clhs_me5(CNuv_Log* log, unsigned int general_bits);
};
