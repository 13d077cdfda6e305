#include "backend_world.h"

#include <nuv/bits.h>

namespace kit_test {
nuv_test::Process other_process(const std::vector<unsigned int>& serialnumbers) {
    return nuv_test::ready_process([&](const nuv_test::Ready& is_ready) {
        CNuv_interface_usb3 backend(nullptr, 0);
        unsigned int code = backend.initialize();
        for (const unsigned int serialnumber : serialnumbers) {
            CNuv_grab* grab = nullptr;
            CNuv_com* com = nullptr;
            code |= backend.open_grab_device(serialnumber, &grab) |
                    backend.open_com_device(serialnumber, &com);
        }
        if (code == 0) {
            is_ready();
            nuv_test::wait_for_sigterm();
        }
    });
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
