#include "bench.h"

#include "expect.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace demo {

Bench::Bench(std::vector<Bench_camera> all_cameras)
    : folder((fs::temp_directory_path() / "nuv_demo.XXXXXX").string()),
      cameras(std::move(all_cameras)) {
    expect(mkdtemp(folder.data()) != nullptr, "no temporary folder can be made");
    setenv("NUV_INI_PATH", folder.c_str(), 1);
    std::ofstream(folder + "/nuv_devicemgr.ini") << "[OPTIONS]\nScantime = 500\n";
    write_inventory();
}

Bench::~Bench() {
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}

void Bench::plug(const std::string& name, bool in) {
    for (Bench_camera& camera : cameras) {
        if (camera.name == name) {
            camera.plugged = in;
        }
    }
    write_inventory();
}

// A scan may read at any moment: it finds the old file or the new one, never half of one.
void Bench::write_inventory() const {
    const std::string path = folder + "/nuv_cameras.ini";
    {
        std::ofstream file(path + ".new");
        for (const Bench_camera& camera : cameras) {
            file << '[' << camera.name << "]\n"
                 << "interface = " << camera.interface << '\n'
                 << "serial = " << camera.serialnumber << '\n'
                 << "plugged = " << (camera.plugged ? "yes" : "no") << "\n\n";
        }
    }
    fs::rename(path + ".new", path);
}

}  // namespace demo
