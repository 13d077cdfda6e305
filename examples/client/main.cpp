// nuv_client [ID]: lists the cameras of this machine, then opens and closes the one with that
// registry id, by default the first.
#include <nuv/device_manager.h>
#include <nuv/iftype.h>
#include <nuv/result.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

std::vector<NUV_Device> list_cameras(CNuv_device_manager& manager) {
    std::vector<NUV_Device> cameras;
    for (unsigned int iftype = 1; iftype < NUV_IFTYPE_COUNT; ++iftype) {
        manager.shm_mgr->get_devlist_if(iftype, cameras);
    }
    for (const NUV_Device& camera : cameras) {
        // A name from the registry need not end within its 64 bytes.
        std::printf("%u: %.64s, serial number %u, %.64s\n", +camera.id, camera.cameraname,
                    +camera.serialnumber, camera.interfacename);
    }
    return cameras;
}

unsigned int open_and_close(CNuv_device_manager& manager, unsigned int id) {
    CNuv_grab* grabber = nullptr;
    const unsigned int code = manager.open_grab_device_from_id(id, &grabber);
    return code != NUV_NOERROR ? code : manager.close_grab_device(grabber);
}

}  // namespace

int main(int argc, char** argv) {
    nuv_dev_manager = std::make_unique<CNuv_device_manager>();
    if (const unsigned int code = nuv_dev_manager->Initialize(); code != NUV_NOERROR) {
        std::fprintf(stderr, "nuv_client: the device manager does not start: 0x%x\n", code);
        return 1;
    }
    const std::vector<NUV_Device> cameras = list_cameras(*nuv_dev_manager);
    if (argc < 2 && cameras.empty()) {
        std::puts("no cameras");
        return 0;
    }
    const auto id =
        static_cast<unsigned int>(argc > 1 ? std::strtoul(argv[1], nullptr, 10) : cameras[0].id);
    if (const unsigned int code = open_and_close(*nuv_dev_manager, id); code != NUV_NOERROR) {
        std::fprintf(stderr, "nuv_client: camera %u does not open and close: 0x%x\n", id, code);
        return 1;
    }
    std::printf("camera %u opened and closed\n", id);
    nuv_dev_manager.reset();
    return 0;
}
