// A device manager over stand-in back-ends, and what it tells its log.
#pragma once

#include "stand_in_backends.h"
#include "support/private_world.h"
#include "support/recording_log.h"

#include <nuv/bits.h>
#include <nuv/device_manager.h>
#include <nuv/result.h>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace manager_test {

using Lines = std::vector<std::string>;

/// INI texts.
constexpr char own_log[] = "[LOG]\nLevel=1\n";
constexpr char usb_only[] = "[INTERFACES]\nME4=0\nCLHS_SISO=0\nCLHS_KAYA=0\nGIGE=0\n";
constexpr char no_interface[] =
    "[INTERFACES]\nUSB=0\nUSB3=0\nME4=0\nCLHS_SISO=0\nCLHS_KAYA=0\nGIGE=0\n";

/// All lines but those of the background threads, as "LEVEL operation: text". The manager's prefix
/// is checked and left out. Numbers that no test can know stand as '#', the date as DATE.
Lines told(const nuv_test::Log_record& record);
/// The same for one of the manager's operations alone, its name left out.
Lines told_by(const nuv_test::Log_record& record, const std::string& operation);

/// A camera's entry in the registry. \return its id
unsigned int add_camera(CNuv_device_manager& manager, unsigned short iftype,
                        unsigned int serialnumber);
/// Whether nobody holds `sem_update`.
bool update_is_free(const CNuv_device_manager& manager);
/// Waits for something that another thread or process will do.
template <class Condition>
void wait_until(Condition holds);

class Manager_test : public testing::Test {
protected:
    Manager_test() { reset_stand_ins(); }
    void configure(const std::string& text) {
        ini_path = nuv_test::write_ini("nuv_devicemgr", text);
    }
    /// Initialised, with its threads stopped and the record empty.
    void initialize_quietly(const std::string& text);

    std::string ini_path;
    nuv_test::Log_record record;
    std::unique_ptr<CNuv_Log> log = nuv_test::make_log();
    std::unique_ptr<CNuv_device_manager> manager = std::make_unique<CNuv_device_manager>();
};

template <class Condition>
void wait_until(Condition holds) {
    while (!holds()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

}  // namespace manager_test
