// The back-end for Camera Link HS, ME5 frame grabber cameras.
#pragma once

#include <nuvkit/backend.h>

class NUV_EXPORT CNuv_interface_clhs_me5 : public nuvkit::Backend {
public:
    CNuv_interface_clhs_me5(CNuv_Log* log, unsigned int general_bits);
};
