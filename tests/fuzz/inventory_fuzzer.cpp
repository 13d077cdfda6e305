// Any text as an inventory of bench cameras.
#include "kit/backends/bench_inventory.h"

#include <cstdio>
#include <cstdlib>

namespace {

constexpr std::uint32_t longest_delay_ms = 600000;

bool is_usable(const nuvkit::Bench_camera& camera) {
    return camera.iftype != 0 && camera.serialnumber != 0 &&
           camera.open_delay_ms <= longest_delay_ms && camera.close_delay_ms <= longest_delay_ms;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    for (const nuvkit::Bench_camera& camera : nuvkit::parse_bench_inventory(text).cameras) {
        if (!is_usable(camera)) {
            std::fprintf(stderr, "camera %s is not usable\n", camera.name.c_str());
            std::abort();
        }
    }
    return 0;
}
