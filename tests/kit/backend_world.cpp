#include "backend_world.h"

#include "support/private_world.h"

#include <nuv/bits.h>

#include <iostream>
#include <sstream>

namespace kit_test {
namespace {

unsigned int answer(CNuv_interface& backend, const std::string& request, CNuv_grab*& grab) {
    std::istringstream words(request);
    std::string verb;
    unsigned int serialnumber = 0;
    words >> verb >> serialnumber;
    CNuv_com* com = nullptr;
    if (verb == "grab") {
        return backend.open_grab_device(serialnumber, &grab);
    }
    if (verb == "com") {
        return backend.open_com_device(serialnumber, &com);
    }
    return verb == "close" ? backend.close_grab_device(grab) : backend.update_devices_in_shmlist();
}

int run_backend(const std::vector<std::string>& /*arguments*/) {
    CNuv_interface_usb3 backend(nullptr, 0);
    if (backend.initialize() != 0) {
        return 1;
    }
    CNuv_grab* grab = nullptr;
    for (std::string request; std::getline(std::cin, request);) {
        std::cout << std::hex << answer(backend, request, grab) << std::endl;
    }
    return 0;
}
const nuv_test::Register_role role("backend", run_backend);

}  // namespace

std::string camera(const std::string& name, unsigned int serialnumber, const std::string& more) {
    return "[" + name + "]\ninterface=USB3\nserial=" + std::to_string(serialnumber) + "\n" + more +
           "\n";
}

void write_inventory(const std::string& text) {
    nuv_test::write_ini("nuv_cameras", text);
}

std::unique_ptr<CNuv_interface_usb3> Backend_test::backend() {
    return std::make_unique<CNuv_interface_usb3>(log.get(), NUV_BIT_LOG_INTERFACE);
}

std::vector<NUV_Device> Backend_test::listed() {
    std::vector<NUV_Device> devices;
    observer.get_devlist_if(type, devices);
    return devices;
}

NUV_Device Backend_test::entry(const std::string& name) {
    for (const NUV_Device& device : listed()) {
        if (name == device.cameraname) {
            return device;
        }
    }
    return {};
}

unsigned int Backend_test::users() {
    for (const NUV_If_opencount& slot : observer.devlist_shm->if_opencount) {
        if (slot.InterfaceType == type) {
            return slot.opencount;
        }
    }
    return 0;
}

std::string Other_process::does(const std::string& request) {
    child.send_line(request);
    return child.read_line().value_or("nothing");
}

void Other_process::ends() {
    child.close_input();
    EXPECT_EQ(child.wait(), 0);
}

}  // namespace kit_test
