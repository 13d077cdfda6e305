// Every operation on the region, each run with arguments that the input chooses.
#pragma once

#include <nuv/interface.h>
#include <nuv/shm_manager.h>

#include <fuzzer/FuzzedDataProvider.h>

namespace nuv_fuzz {

/// A back-end without cameras: what the base class does is all it does.
class Plain_interface : public CNuv_interface {
public:
    Plain_interface(CNuv_Log* log, unsigned int bits) : CNuv_interface(log, bits) {}

    unsigned int initialize() override { return 0; }
    unsigned int find_devices(std::vector<NUV_Device>& /*found*/) override { return 0; }
    unsigned int update_devices_in_shmlist() override { return 0; }
    unsigned int open_grab_device(unsigned int /*serial*/, CNuv_grab** /*grab*/) override {
        return 1;
    }
    unsigned int close_grab_device(CNuv_grab* /*grab*/) override { return 1; }
    unsigned int open_com_device(unsigned int /*serial*/, CNuv_com** /*com*/) override { return 1; }
    unsigned int close_com_device(CNuv_com* /*com*/) override { return 1; }
};

void look_up(CNuv_shm_manager& manager, FuzzedDataProvider& input);
void change(CNuv_shm_manager& manager, FuzzedDataProvider& input);
/// Scans, and opens and closes devices; may leave some open.
void use_cameras(CNuv_interface& backend, FuzzedDataProvider& input);
void delete_devices(CNuv_interface& backend, FuzzedDataProvider& input);

}  // namespace nuv_fuzz
