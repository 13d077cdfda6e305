// A registry with back-ends of one type, seen from outside.
#pragma once

#include "support/child_process.h"
#include "support/private_world.h"
#include "support/recording_log.h"

#include <nuv/iftype.h>
#include <nuv/shm_manager.h>

#include <nuvkit/interface_usb3.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace kit_test {

constexpr unsigned int type = NUV_IFTYPE_USB3;

/// A section of the inventory.
std::string camera(const std::string& name, unsigned int serialnumber,
                   const std::string& more = "");
/// \return the file's path
std::string write_inventory(const std::string& text);

class Backend_test : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(observer.Initialize(), 0U); }

    /// Made and initialised, over this inventory.
    void start(const std::string& inventory);
    unsigned int scan() { return usb3->update_devices_in_shmlist(); }
    unsigned int scan(const std::string& inventory);
    std::vector<NUV_Device> listed();
    /// The entry with that name; all zero without one.
    NUV_Device entry(const std::string& name);
    unsigned int users();

    nuv_test::Log_record record;
    std::unique_ptr<CNuv_Log> log = nuv_test::make_log();
    std::unique_ptr<CNuv_interface_usb3> usb3;
    CNuv_shm_manager observer;
};

/// Another process with a back-end, which has both devices of these cameras open until it gets
/// SIGTERM.
nuv_test::Process other_process(const std::vector<unsigned int>& serialnumbers = {});

}  // namespace kit_test
