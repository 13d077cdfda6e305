#include "manager_session.h"

#include "registry_view.h"
#include "result_text.h"

#include <nuv/device_manager.h>
#include <nuv/result.h>

#include <iostream>
#include <memory>

namespace nuvctl {
namespace {

Exit start() {
    nuv_dev_manager = std::make_unique<CNuv_device_manager>();
    const unsigned int code = nuv_dev_manager->Initialize();
    if (code == NUV_NOERROR) {
        return Exit::done;
    }
    const bool permitted = may_attach();
    std::cerr << "nuvctl: the device manager cannot start: "
              << (permitted
                      ? result_text(code)
                      : result_text(code) +
                            ": no permission to write to the registry or to create it in /dev/shm")
              << '\n';
    return permitted ? Exit::failure : Exit::permission;
}

}  // namespace

Manager_session::Manager_session(const std::string& config) {
    try {
        if (!config.empty()) {
            configuration.emplace(config);
        }
        result = start();
    } catch (const std::exception& error) {
        std::cerr << "nuvctl: the device manager cannot start: " << error.what() << '\n';
    }
}

Manager_session::~Manager_session() {
    nuv_dev_manager.reset();
}

int Manager_session::registry() const {
    return nuv_dev_manager->shm_mgr->m_hMem;
}

}  // namespace nuvctl
