// Any text as the device manager's INI file, its section for the log included.
#include "fuzz/fuzz_world.h"
#include "support/private_world.h"
#include "support/stand_in_log.h"

#include <nuv/bits.h>
#include <nuv/device_manager.h>
#include <nuv/result.h>

#include <nuvkit/ini.h>

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
    nuv_test::write_ini(ini_name, std::string(reinterpret_cast<const char*>(data), size));
    CNuv_device_manager& manager = reader().manager;
    manager.set_general_bits(NUV_BIT_LOG_DEVICE_MANAGER);
    const unsigned int code = manager.get_parameter_from_inifile();
    nuv_fuzz::require(code == NUV_NOERROR || code == NUV_ERROR_INI_LOAD, "a known result");
    nuv_fuzz::require(manager.scantime >= 500 && manager.scantime <= 3600000, "scantime in range");
    delete manager.cini->create_log_from_ini();
    return 0;
}
