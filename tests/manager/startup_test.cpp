#include "manager_world.h"
#include "support/faults.h"

#include <cerrno>

namespace manager_test {
namespace {

using Startup = Manager_test;

TEST_F(Startup, ThreadsSuitTheScanPeriod) {
    const struct {
        const char* options;
        bool scans;
        bool keeps_time;
    } rows[] = {
        {"", true, true},
        {"Scantime=2500", true, false},
        {"Scantime=2501", true, true},
        {"Scantime=500\nDifftime=0", true, true},
        {"Scan=0", false, true},
    };
    for (const auto& row : rows) {
        configure(std::string(own_log) + no_interface + "[OPTIONS]\n" + row.options + "\n");
        CNuv_device_manager started;
        EXPECT_EQ(started.Initialize(), NUV_NOERROR);
        EXPECT_EQ(started.thread_scan.joinable(), row.scans) << row.options;
        EXPECT_EQ(started.thread_time.joinable(), row.keeps_time) << row.options;
    }
    EXPECT_TRUE(record.contains("Initialize: interface scanning disabled"));
}

TEST_F(Startup, BackEndsGetTheTopByteAndLearnOfAStaleRegistry) {
    constexpr unsigned int preset = 0x0F000003;
    configure("[INTERFACES]\nGIGE=0\n");
    manager->set_general_bits(preset);
    ASSERT_EQ(manager->Initialize(), NUV_NOERROR);
    EXPECT_EQ(manager->m_general_bits, 0x0E000003U);
    EXPECT_EQ(manager->shm_mgr->general_bits, preset);
    EXPECT_EQ(manager->interface_list.at(NUV_IFTYPE_USB2)->general_bits, 0x0E000000U);
    EXPECT_FALSE(manager->interface_list.at(NUV_IFTYPE_USB2)->difftime_out);
    manager->stop_threads();

    region().time_stamp -= 100;
    configure(own_log);
    CNuv_device_manager late;
    late.set_general_bits(preset);
    EXPECT_EQ(late.Initialize(), NUV_NOERROR);
    EXPECT_EQ(late.m_general_bits, preset);
    EXPECT_TRUE(record.contains("shm_mgr returned DIFFTIME_OUT m_general_bits 0xf000003"));
    EXPECT_EQ(late.interface_list.size(), 6U);
    for (const auto& [iftype, backend] : late.interface_list) {
        EXPECT_EQ(backend->general_bits, 0x0E000000U) << iftype;
        EXPECT_TRUE(backend->difftime_out) << iftype;
        EXPECT_EQ(backend->clog, late.cdevlog) << iftype;
    }
}

TEST_F(Startup, FailedAttachMayBeTriedAgain) {
    configure(std::string(own_log) + no_interface);
    {
        nuv_test::Faults faults;
        faults.fail_always(nuv_test::Call::ftruncate, ENOSPC);
        EXPECT_EQ(manager->Initialize(), NUV_ERROR_NOMEMORY);
        faults.fail_always(nuv_test::Call::shm_open, EACCES);
        EXPECT_EQ(manager->Initialize(), NUV_ERROR_INIT);
    }
    EXPECT_TRUE(record.contains("shm_mgr Initialize returned with error. Cannot create shm."));
    EXPECT_FALSE(manager->init_done || manager->thread_scan.joinable());
    ASSERT_EQ(manager->Initialize(), NUV_NOERROR);
    EXPECT_EQ(+region().opencount, 1);
}

TEST_F(Startup, ThrowingBackEndLeavesAManagerThatCanStartLater) {
    Stand_in& usb3 = stand_in(NUV_IFTYPE_USB3);
    for (const Step throwing : {Step::construct, Step::initialize}) {
        usb3.in_step = [throwing](Step step) { return step == throwing ? throws(step) : 0U; };
        EXPECT_THROW(manager->Initialize(), std::runtime_error);
        EXPECT_FALSE(manager->init_done || manager->thread_time.joinable());
    }
    usb3.in_step = nullptr;
    ASSERT_EQ(manager->Initialize(), NUV_NOERROR);
    EXPECT_EQ(usb2.count(Step::destroy), 2);
    EXPECT_EQ(manager->interface_list.size(), 6U);
    EXPECT_EQ(+region().opencount, 7);
}

}  // namespace
}  // namespace manager_test
