#include "bench_source.h"

#include <nuv/iftype.h>

#include <nuvkit/interface_clhs_kaya.h>

CNuv_interface_clhs_kaya::CNuv_interface_clhs_kaya(CNuv_Log* log, unsigned int bits)
    : Backend(log, bits, NUV_IFTYPE_CLHS_KAYA, nuvkit::make_bench_source(NUV_IFTYPE_CLHS_KAYA)) {}
