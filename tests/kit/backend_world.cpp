#include "backend_world.h"

#include <nuv/bits.h>

#include <iostream>

namespace kit_test {
namespace {

int run_backend(const std::vector<std::string>& requests) {
    CNuv_interface_usb3 backend(nullptr, 0);
    if (backend.initialize() != 0) {
        return 1;
    }
    std::cout << std::hex;
    for (const std::string& request : requests) {
        CNuv_grab* grab = nullptr;
        CNuv_com* com = nullptr;
        const auto number =
            static_cast<unsigned int>(std::stoul(request.substr(request.find(' '))));
        std::cout << (request[0] == 'g' ? backend.open_grab_device(number, &grab)
                                        : backend.open_com_device(number, &com))
                  << std::endl;
    }
    std::cout << "ready" << std::endl;
    std::cin.get();
    return 0;
}
const nuv_test::Register_role role("backend", run_backend);

}  // namespace

nuv_test::Child other_process(const std::vector<std::string>& requests) {
    nuv_test::Child child = nuv_test::Child::in_role("backend", requests);
    for (std::size_t i = 0; i < requests.size(); ++i) {
        EXPECT_EQ(child.read_line(), "0");
    }
    EXPECT_EQ(child.read_line(), "ready");
    return child;
}

std::string camera(const std::string& name, unsigned int serialnumber, const std::string& more) {
    return "[" + name + "]\ninterface=USB3\nserial=" + std::to_string(serialnumber) + "\n" + more +
           "\n";
}

std::string write_inventory(const std::string& text) {
    return nuv_test::write_ini("nuv_cameras", text);
}

void Backend_test::start(const std::string& inventory) {
    write_inventory(inventory);
    usb3 = std::make_unique<CNuv_interface_usb3>(log.get(), NUV_BIT_LOG_INTERFACE);
    ASSERT_EQ(usb3->initialize(), 0U);
}

unsigned int Backend_test::scan(const std::string& inventory) {
    write_inventory(inventory);
    return scan();
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

}  // namespace kit_test
