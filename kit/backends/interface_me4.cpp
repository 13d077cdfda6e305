#include "bench_source.h"

#include <nuv/iftype.h>

#include <nuvkit/interface_me4.h>

CNuv_interface_me4::CNuv_interface_me4(CNuv_Log* log, unsigned int bits)
    : Backend(log, bits, NUV_IFTYPE_ME4, nuvkit::make_bench_source(NUV_IFTYPE_ME4)) {}
