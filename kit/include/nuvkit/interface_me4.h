// The back-end for Camera Link, ME4 frame grabber cameras.
#pragma once

#include <nuvkit/backend.h>

class NUV_EXPORT CNuv_interface_me4 : public nuvkit::Backend {
public:
    CNuv_interface_me4(CNuv_Log* log, unsigned int general_bits);
};
