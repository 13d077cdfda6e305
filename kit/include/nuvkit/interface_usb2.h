// The back-end for USB 2 cameras.
#pragma once

#include <nuvkit/backend.h>

class NUV_EXPORT CNuv_interface_usb2 : public nuvkit::Backend {
public:
    CNuv_interface_usb2(CNuv_Log* log, unsigned int general_bits);
};
