// A registry with back-ends of one type, seen from outside.
#pragma once

#include "support/child_process.h"
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

/// Sections of the inventory, as text.
std::string camera(const std::string& name, unsigned int serialnumber,
                   const std::string& more = "");
void write_inventory(const std::string& text);

class Backend_test : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(observer.Initialize(), 0U); }

    std::unique_ptr<CNuv_interface_usb3> backend();
    std::vector<NUV_Device> listed();
    /// The entry with that name; all zero without one.
    NUV_Device entry(const std::string& name);
    unsigned int users();

    nuv_test::Log_record record;
    std::unique_ptr<CNuv_Log> log = nuv_test::make_log();
    CNuv_shm_manager observer;
};

/// Another process with a back-end. It answers a line for each line it is sent.
class Other_process {
public:
    Other_process() : child(nuv_test::Child::in_role("backend")) {}

    /// "grab SERIAL", "com SERIAL", "close" or "scan". \return the code, in hexadecimal
    std::string does(const std::string& request);
    void killed() { EXPECT_EQ(child.kill_and_wait(), -SIGKILL); }
    void ends();
    pid_t pid() const { return child.pid(); }

private:
    nuv_test::Child child;
};

}  // namespace kit_test
