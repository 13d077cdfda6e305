#include "bench_source.h"

#include <nuv/iftype.h>

#include <nuvkit/interface_usb3.h>

CNuv_interface_usb3::CNuv_interface_usb3(CNuv_Log* log, unsigned int bits)
    : Backend(log, bits, NUV_IFTYPE_USB3, nuvkit::make_bench_source(NUV_IFTYPE_USB3)) {}
