#include "bench_source.h"

#include "bench_file.h"

#include <nuv/iftype.h>
#include <nuv/result.h>

#include <nuvkit/backend.h>

#include <algorithm>
#include <chrono>
#include <thread>

namespace nuvkit {
namespace {

void take_ms(std::uint32_t duration) {
    if (duration != 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(duration));
    }
}

class Bench_source : public Camera_source {
public:
    explicit Bench_source(std::uint16_t type) : iftype(type), file(Bench_file::of_process()) {}

    unsigned int initialize() override;
    unsigned int find(std::vector<Camera>& cameras) override;
    unsigned int open(Device_kind kind, std::uint64_t key) override;
    unsigned int close(Device_kind kind, std::uint64_t key) override;
    std::vector<std::string> take_remarks() override { return file.take_remarks(); }

private:
    using Inventory = std::shared_ptr<const Bench_inventory>;

    Bench_backend plan(const Bench_inventory& inventory) const;
    const Bench_camera* camera(const Bench_inventory& inventory, std::uint64_t key) const;

    const std::uint16_t iftype;
    Bench_file& file;
};

unsigned int Bench_source::initialize() {
    Inventory inventory;
    if (file.read(inventory) != NUV_NOERROR) {
        return NUV_NOERROR;  // it may be mended while the process runs; the scans say so meanwhile
    }
    const Bench_backend backend = plan(*inventory);
    take_ms(backend.initialize_delay_ms);
    return backend.initialize_result;
}

unsigned int Bench_source::find(std::vector<Camera>& cameras) {
    Inventory inventory;
    if (const unsigned int code = file.read(inventory); code != NUV_NOERROR) {
        return code;
    }
    const Bench_backend backend = plan(*inventory);
    take_ms(backend.scan_delay_ms);
    if (backend.scan_result != NUV_NOERROR) {
        return backend.scan_result;
    }
    cameras.reserve(cameras.size() + inventory->cameras.size());
    for (const Bench_camera& one : inventory->cameras) {
        if (one.iftype != iftype || !one.plugged) {
            continue;
        }
        const std::string& name = one.interfacename;
        cameras.push_back(
            {one.key, one.serialnumber, one.name, name.empty() ? iftype_names[iftype] : name});
    }
    return NUV_NOERROR;
}

unsigned int Bench_source::open(Device_kind, std::uint64_t key) {
    Inventory inventory;
    if (const unsigned int code = file.read(inventory); code != NUV_NOERROR) {
        return code;
    }
    const Bench_camera* found = camera(*inventory, key);
    if (found == nullptr || !found->plugged) {
        return NUV_BACKEND_UNPLUGGED;
    }
    take_ms(found->open_delay_ms);
    return found->open_result;
}

unsigned int Bench_source::close(Device_kind, std::uint64_t key) {
    Inventory inventory;
    if (file.read(inventory) != NUV_NOERROR) {
        return NUV_NOERROR;  // as with a camera that has gone: there is nothing left to fail
    }
    const Bench_camera* found = camera(*inventory, key);
    if (found == nullptr) {
        return NUV_NOERROR;
    }
    take_ms(found->close_delay_ms);
    return found->close_result;
}

Bench_backend Bench_source::plan(const Bench_inventory& inventory) const {
    const auto found = inventory.backends.find(iftype);
    return found != inventory.backends.end() ? found->second : Bench_backend{};
}

const Bench_camera* Bench_source::camera(const Bench_inventory& inventory,
                                         std::uint64_t key) const {
    const auto& cameras = inventory.cameras;
    const auto found = std::find_if(cameras.begin(), cameras.end(), [&](const Bench_camera& one) {
        return one.iftype == iftype && one.key == key;
    });
    return found != cameras.end() ? &*found : nullptr;
}

}  // namespace

std::unique_ptr<Camera_source> make_bench_source(std::uint16_t iftype) {
    return std::make_unique<Bench_source>(iftype);
}

}  // namespace nuvkit
