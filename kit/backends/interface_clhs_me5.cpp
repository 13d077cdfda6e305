#include "bench_source.h"

#include <nuv/iftype.h>

#include <nuvkit/interface_clhs_me5.h>

CNuv_interface_clhs_me5::CNuv_interface_clhs_me5(CNuv_Log* log, unsigned int bits)
    : Backend(log, bits, NUV_IFTYPE_CLHS_ME5, nuvkit::make_bench_source(NUV_IFTYPE_CLHS_ME5)) {}
