// A device manager over stand-in back-ends, with a log that keeps its lines.
#pragma once

#include "stand_in_backends.h"
#include "support/private_world.h"
#include "support/recording_log.h"
#include "support/region_file.h"

#include <nuv/bits.h>
#include <nuv/device_manager.h>
#include <nuv/iftype.h>
#include <nuv/result.h>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>

namespace manager_test {

/// INI texts.
constexpr char own_log[] = "[LOG]\nLevel=1\n";
constexpr char usb_only[] = "[INTERFACES]\nME4=0\nCLHS_SISO=0\nCLHS_KAYA=0\nGIGE=0\n";
constexpr char no_interface[] =
    "[INTERFACES]\nUSB=0\nUSB3=0\nME4=0\nCLHS_SISO=0\nCLHS_KAYA=0\nGIGE=0\n";

/// For a back-end's step.
[[noreturn]] unsigned int throws(Step step);

/// Waits for something that another thread will do.
template <class Condition>
void wait_until(Condition holds) {
    while (!holds()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

class Manager_test : public testing::Test {
protected:
    ~Manager_test() override {
        manager.reset();
        forget_stand_ins();
    }
    static void configure(const std::string& text) { nuv_test::write_ini("nuv_devicemgr", text); }
    /// Initialised, with its threads stopped and the record empty.
    void initialize_quietly(const std::string& text);
    /// A camera's entry in the registry. \return its id
    unsigned int add_camera(unsigned short iftype, unsigned int serialnumber) const;
    /// Whether nobody holds `sem_update`.
    bool update_is_free() const {
        return nuv_test::value_of(manager->shm_mgr->sema_update->sem) == 1;
    }
    NUV_Devlist_Shm& region() const { return *manager->shm_mgr->devlist_shm; }

    nuv_test::Log_record record;
    std::unique_ptr<CNuv_Log> log = nuv_test::make_log();
    std::unique_ptr<CNuv_device_manager> manager = std::make_unique<CNuv_device_manager>();
    Stand_in& usb2 = stand_in(NUV_IFTYPE_USB2);
};

}  // namespace manager_test
