// Lists the cameras of the machine, opens the first and closes it.
#include <nuv/device_manager.h>
#include <nuv/iftype.h>
#include <nuv/result.h>

#include <cstdio>
#include <memory>
#include <vector>

namespace {

int fail(const char* what) {
    std::fprintf(stderr, "consumer: %s\n", what);
    return 1;
}

}  // namespace

int main() {
    nuv_dev_manager = std::make_unique<CNuv_device_manager>();
    if (nuv_dev_manager->Initialize() != NUV_NOERROR) {
        return fail("the device manager does not start");
    }
    std::vector<NUV_Device> cameras;
    nuv_dev_manager->shm_mgr->get_devlist_if(NUV_IFTYPE_USB3, cameras);
    if (cameras.size() != 1) {
        return fail("there is not exactly one USB 3 camera");
    }
    const unsigned int id = cameras[0].id;
    CNuv_grab* grab = nullptr;
    if (nuv_dev_manager->open_grab_device_from_id(id, &grab) != NUV_NOERROR ||
        nuv_dev_manager->close_grab_device(grab) != NUV_NOERROR) {
        return fail("the camera does not open and close");
    }
    std::printf("%s: camera %u, %.64s\n", iftype_names[NUV_IFTYPE_USB3], id, cameras[0].cameraname);
    return 0;
}
