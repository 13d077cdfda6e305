// The back-end for USB 3 cameras.
#pragma once

#include <nuvkit/backend.h>

class NUV_EXPORT CNuv_interface_usb3 : public nuvkit::Backend {
public:
    CNuv_interface_usb3(CNuv_Log* log, unsigned int general_bits);
};
