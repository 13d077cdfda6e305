#include "bench_source.h"

#include <nuv/iftype.h>

#include <nuvkit/interface_gige.h>

CNuv_interface_gige::CNuv_interface_gige(CNuv_Log* log, unsigned int bits)
    : Backend(log, bits, NUV_IFTYPE_GIGE, nuvkit::make_bench_source(NUV_IFTYPE_GIGE)) {}
