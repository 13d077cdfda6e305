// A complete back-end. Its cameras are files: each file in the folder NUV_EXAMPLE_CAMERAS that is
// named by a serial number is a camera, and its first line is the camera's name.
//
// A real back-end differs in `Folder_cameras` alone. What it says of the registry, of who has a
// camera open, and of processes that die is nuvkit::Backend's.
#include <nuv/iftype.h>
#include <nuv/result.h>

#include <nuvkit/backend.h>
#include <nuvkit/camera_source.h>
#include <nuvkit/interface_gige.h>

#include <fcntl.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <system_error>
#include <utility>

namespace {

namespace fs = std::filesystem;

/// Codes of a back-end's own: the device manager hands them to its caller unchanged.
constexpr unsigned int FOLDER_MISSING = 0x80005001;
constexpr unsigned int FOLDER_UNREADABLE = 0x80005002;

/// 0 for a name that is no serial number.
std::uint32_t serialnumber_of(const fs::path& file) {
    const std::string name = file.filename().string();
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    return error == std::errc() && end == name.data() + name.size() ? number : 0;
}

class Folder_cameras : public nuvkit::Camera_source {
public:
    ~Folder_cameras() override;

    unsigned int initialize() override;
    unsigned int find(std::vector<nuvkit::Camera>& cameras) override;
    unsigned int open(nuvkit::Device_kind kind, std::uint64_t key) override;
    unsigned int close(nuvkit::Device_kind kind, std::uint64_t key) override;
    std::vector<std::string> take_remarks() override;

private:
    using Device = std::pair<nuvkit::Device_kind, std::uint64_t>;

    fs::path folder;
    std::mutex mutex;
    std::map<Device, int> descriptors;  // of the open devices; guarded by `mutex`
    std::vector<std::string> remarks;   // guarded by `mutex`
    std::error_code reported;           // the last scan's; guarded by `mutex`
};

Folder_cameras::~Folder_cameras() {
    for (const auto& [device, descriptor] : descriptors) {
        ::close(descriptor);
    }
}

unsigned int Folder_cameras::initialize() {
    const char* name = std::getenv("NUV_EXAMPLE_CAMERAS");
    if (name == nullptr) {
        return FOLDER_MISSING;
    }
    folder = name;
    return NUV_NOERROR;
}

unsigned int Folder_cameras::find(std::vector<nuvkit::Camera>& cameras) {
    std::error_code error;
    for (fs::directory_iterator file(folder, error), end; !error && file != end;
         file.increment(error)) {
        const std::uint32_t serialnumber = serialnumber_of(file->path());
        if (serialnumber != 0) {
            nuvkit::Camera camera;
            camera.key = serialnumber;
            camera.serialnumber = serialnumber;
            camera.interfacename = "Folder";
            std::ifstream text(file->path());
            std::getline(text, camera.name);
            cameras.push_back(camera);
        }
    }
    const std::lock_guard lock(mutex);
    if (error && error != reported) {
        remarks.push_back(folder.string() + ": " + error.message());
    }
    reported = error;
    return error ? FOLDER_UNREADABLE : NUV_NOERROR;
}

unsigned int Folder_cameras::open(nuvkit::Device_kind kind, std::uint64_t key) {
    const std::lock_guard lock(mutex);
    const auto [device, is_new] = descriptors.try_emplace({kind, key}, -1);
    if (!is_new) {
        return NUV_BACKEND_BUSY;
    }
    device->second = ::open((folder / std::to_string(key)).c_str(), O_RDONLY | O_CLOEXEC);
    if (device->second < 0) {
        descriptors.erase(device);
        return NUV_BACKEND_UNPLUGGED;
    }
    return NUV_NOERROR;
}

unsigned int Folder_cameras::close(nuvkit::Device_kind kind, std::uint64_t key) {
    const std::lock_guard lock(mutex);
    const auto device = descriptors.find({kind, key});
    if (device == descriptors.end()) {
        return NUV_BACKEND_BAD_HANDLE;
    }
    ::close(device->second);
    descriptors.erase(device);
    return NUV_NOERROR;
}

std::vector<std::string> Folder_cameras::take_remarks() {
    const std::lock_guard lock(mutex);
    return std::exchange(remarks, {});
}

}  // namespace

CNuv_interface_gige::CNuv_interface_gige(CNuv_Log* log, unsigned int general_bits)
    : Backend(log, general_bits, NUV_IFTYPE_GIGE, std::make_unique<Folder_cameras>()) {}
