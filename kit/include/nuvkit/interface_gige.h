// The back-end for GigE cameras.
#pragma once

#include <nuvkit/backend.h>

class NUV_EXPORT CNuv_interface_gige : public nuvkit::Backend {
public:
    CNuv_interface_gige(CNuv_Log* log, unsigned int general_bits);
};
