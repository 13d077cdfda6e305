/// \file
/// The back-end for GigE cameras.
#pragma once

#include <nuvkit/backend.h>

/// Its cameras are the bench's. Everything else is as the base class says.
class NUV_EXPORT CNuv_interface_gige : public nuvkit::Backend {
public:
    /// \copydoc nuvkit::Backend::Backend
    CNuv_interface_gige(CNuv_Log* log, unsigned int general_bits);
};
