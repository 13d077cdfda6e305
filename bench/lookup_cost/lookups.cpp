// lookups COUNT ID: looks one device up, over and over, in a full registry that nobody logs. What
// `count.sh` counts the instructions of.
#include <nuv/result.h>
#include <nuv/shm_manager.h>

#include <cstdio>
#include <cstdlib>

namespace {

bool fill(CNuv_shm_manager& manager) {
    for (unsigned int id = 1; id <= NUV_DEVICE_COUNT; ++id) {
        NUV_Device device{};
        device.id = id;
        device.status_bits = NUV_STATUS_PRESENT;
        if (manager.set_nuvdevice_to_free_listentry(device) != NUV_NOERROR) {
            return false;
        }
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    CNuv_shm_manager manager;
    if (argc != 3 || manager.Initialize() != NUV_NOERROR || !fill(manager)) {
        std::fprintf(stderr, "lookups: needs COUNT, ID and a /dev/shm without a registry\n");
        return 1;
    }
    const int count = std::atoi(argv[1]);
    const auto id = static_cast<unsigned int>(std::atoi(argv[2]));
    const unsigned int expected = id <= NUV_DEVICE_COUNT ? NUV_NOERROR : NUV_ERROR_NOT_FOUND;
    NUV_Device found;
    for (int i = 0; i < count; ++i) {
        if (manager.get_nuvdevice_from_id(id, found) != expected) {
            std::fprintf(stderr, "lookups: a look-up answers wrongly\n");
            return 1;
        }
    }
}
