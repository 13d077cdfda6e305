// Bench cameras as a source.
#pragma once

#include <nuv/export.h>

#include <nuvkit/camera_source.h>

#include <cstdint>
#include <memory>

namespace nuvkit {

/// The bench cameras of one interface type.
NUV_EXPORT std::unique_ptr<Camera_source> make_bench_source(std::uint16_t iftype);

}  // namespace nuvkit
