// A process that uses the library: one device manager, and a camera open at times.
#include "member.h"

#include <nuv/device_manager.h>
#include <nuv/result.h>

#include <iostream>
#include <memory>
#include <sstream>

namespace demo {
namespace {

void list_cameras() {
    for (int index = 0; index < NUV_DEVICE_COUNT; ++index) {
        NUV_Device device;
        if (nuv_dev_manager->shm_mgr->get_nuvdevice_listentry(index, device) == NUV_NOERROR &&
            (device.status_bits & NUV_STATUS_PRESENT) != 0) {
            std::cout << to_line(row_of(device)) << '\n';
        }
    }
}

class Session {
public:
    /// \return false when the process is to end
    bool obey(const std::string& command) {
        std::istringstream words(command);
        std::string verb;
        unsigned int id = 0;
        words >> verb >> id;
        if (verb == "initialize") {
            nuv_dev_manager = std::make_unique<CNuv_device_manager>();
            std::cout << nuv_dev_manager->Initialize() << '\n';
        } else if (verb == "list") {
            list_cameras();
        } else if (verb == "open") {
            open(id);
        } else if (verb == "close") {
            std::cout << nuv_dev_manager->close_grab_device(grab) << ' '
                      << nuv_dev_manager->close_com_device(com) << '\n';
        } else if (verb == "pause") {
            nuv_dev_manager->mtx.lock();  // neither background thread is at work without it
        } else if (verb == "quit") {
            nuv_dev_manager.reset();
            return false;
        }
        return true;
    }

private:
    void open(unsigned int id) {
        CNuv_grab* new_grab = nullptr;
        CNuv_com* new_com = nullptr;
        const unsigned int grab_result = nuv_dev_manager->open_grab_device_from_id(id, &new_grab);
        const unsigned int com_result = nuv_dev_manager->open_com_device_from_id(id, &new_com);
        if (grab_result == NUV_NOERROR && com_result == NUV_NOERROR) {
            grab = new_grab;
            com = new_com;
        }
        std::cout << grab_result << ' ' << com_result << '\n';
    }

    CNuv_grab* grab = nullptr;
    CNuv_com* com = nullptr;
};

}  // namespace

int run_member() {
    Session session;
    bool goes_on = true;
    for (std::string command; goes_on && std::getline(std::cin, command);) {
        goes_on = session.obey(command);
        std::cout << "." << std::endl;
    }
    return 0;
}

}  // namespace demo
