// The back-end for Camera Link HS, Kaya frame grabber cameras.
#pragma once

#include <nuvkit/backend.h>

class NUV_EXPORT CNuv_interface_clhs_kaya : public nuvkit::Backend {
public:
    CNuv_interface_clhs_kaya(CNuv_Log* log, unsigned int general_bits);
};
