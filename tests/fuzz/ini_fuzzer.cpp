// Any text as the device manager's INI file, its section for the log included, and as an inventory
// of bench cameras.
#include "fuzz/fuzz_world.h"
#include "kit/backends/bench_inventory.h"
#include "support/stand_in_log.h"

#include <nuv/bits.h>
#include <nuv/device_manager.h>
#include <nuv/result.h>

#include <nuvkit/ini.h>

#include <algorithm>

namespace {

constexpr char ini_name[] = "nuv_devicemgr";

/// Made once: its destructor takes 100 ms.
struct Reader {
    Reader() {
        manager.SetLog(log.get());
        manager.cini = std::make_unique<CNuv_ini>(ini_name);
    }

    const std::unique_ptr<CNuv_Log> log = nuv_test::make_log();
    CNuv_device_manager manager;
};

Reader& reader() {
    static Reader made;
    return made;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** argv) {
    nuv_fuzz::enter_world(*argv);
    reader();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    nuv_test::write_ini(ini_name, text);
    CNuv_device_manager& manager = reader().manager;
    manager.set_general_bits(NUV_BIT_LOG_DEVICE_MANAGER);
    const unsigned int code = manager.get_parameter_from_inifile();
    nuv_fuzz::require(code == NUV_NOERROR || code == NUV_ERROR_INI_LOAD, "a known result");
    nuv_fuzz::require(manager.scantime >= 500 && manager.scantime <= 3600000, "scantime in range");
    delete manager.cini->create_log_from_ini();
    for (const nuvkit::Bench_camera& camera : nuvkit::parse_bench_inventory(text).cameras) {
        nuv_fuzz::require(camera.iftype != 0 && camera.serialnumber != 0, "a usable camera");
        nuv_fuzz::require(std::max(camera.open_delay_ms, camera.close_delay_ms) <= 600000,
                          "delays in range");
    }
    return 0;
}
