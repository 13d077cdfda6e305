#include "bench_source.h"

#include <nuv/iftype.h>

#include <nuvkit/interface_usb2.h>

CNuv_interface_usb2::CNuv_interface_usb2(CNuv_Log* log, unsigned int bits)
    : Backend(log, bits, NUV_IFTYPE_USB2, nuvkit::make_bench_source(NUV_IFTYPE_USB2)) {}
