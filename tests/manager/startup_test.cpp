#include "manager_world.h"
#include "support/faults.h"

#include <nuv/iftype.h>

#include <nuvkit/ini.h>

#include <cerrno>

namespace manager_test {
namespace {

class Startup : public Manager_test {
protected:
    int users() const { return +manager->shm_mgr->devlist_shm->opencount; }
};

void expect_created(Lines& lines, const std::string& type, const std::string& object,
                    bool announced = true) {
    const std::string name = "2 Initialize: CNuv_interface_" + type;
    if (announced) {
        lines.push_back("2 Initialize: create CNuv_interface_" + type);
    }
    lines.push_back(name + " " + object + " created");
    lines.push_back(name + " initialize done");
    lines.push_back(name + " moved to map");
}

TEST_F(Startup, EveryStepIsToldInOrder) {
    configure(std::string(own_log) + "[INTERFACES]\nUSB3=dis\n[OPTIONS]\nScan=0\n");
    stand_in(NUV_IFTYPE_ME4).initialize_result = 0xA0000077;
    manager->set_general_bits(0x2);
    ASSERT_EQ(manager->Initialize(), NUV_NOERROR);

    Lines expected{
        "0 set_lib_vers: nuv_usb, 2,1,0,38, DATE",
        "2 Initialize: loglevel 0xffffffff",
        "2 Initialize: general_bits found 0x2",
        "2 get_parameter_from_inifile: Load ini file " + ini_path,
        "2 get_parameter_from_inifile: USB3 interface disabled",
        "2 get_parameter_from_inifile: scan thread disabled",
        "2 Initialize: general_bits from inifile 0x3",
        "2 Initialize: create CNuv_shm_manager for CNuv_device_manager",
        "2 Initialize: create enabled interfaces",
    };
    expect_created(expected, "usb2", "if_usb");
    expected.insert(expected.end(),
                    {
                        "2 Initialize: CNuv_interface_usb3 disabled",
                        "2 Initialize: create CNuv_interface_me4",
                        "2 Initialize: CNuv_interface_me4 if_me4 created",
                        "2 Initialize: CNuv_interface_me4 initialize failed 0xa0000077",
                    });
    expect_created(expected, "clhs_me5", "if_clhs_me5");
    expect_created(expected, "clhs_kaya", "if_clhs_kaya");
    expect_created(expected, "gige", "if_gige", false);
    expected.insert(expected.end(), {
                                        "2 start_time_thread: thread time 0x# created",
                                        "2 Initialize: interface scanning disabled",
                                        "2 Initialize: return always NUV_NOERROR",
                                    });
    EXPECT_EQ(told(record), expected);

    EXPECT_EQ(manager->interface_list.size(), 4U);
    EXPECT_EQ(manager->interface_list.count(NUV_IFTYPE_ME4), 0U);
    EXPECT_EQ(stand_in(NUV_IFTYPE_ME4).destroyed, 1);
    EXPECT_EQ(stand_in(NUV_IFTYPE_GIGE).log, manager->cdevlog);
    EXPECT_EQ(users(), 5);
}

TEST_F(Startup, ThreadsSuitTheScanPeriod) {
    const struct {
        const char* options;
        bool scans;
        bool keeps_time;
        const char* line;
    } rows[] = {
        {"", true, true, "2 scantime 5000  2500"},
        {"Scantime=2500", true, false, "2 scantime 2500  2500"},
        {"Scantime=2501", true, true, "2 scantime 2501  2500"},
        {"Scantime=500\nDifftime=0", true, true, "2 scantime 500  0"},
        {"Scan=0", false, true, "2 interface scanning disabled"},
    };
    for (const auto& row : rows) {
        configure(std::string(own_log) + no_interface + "[OPTIONS]\n" + row.options + "\n");
        CNuv_device_manager started;
        EXPECT_EQ(started.Initialize(), NUV_NOERROR);
        EXPECT_EQ(started.thread_scan.joinable(), row.scans) << row.options;
        EXPECT_EQ(started.thread_time.joinable(), row.keeps_time) << row.options;
        const Lines lines = told_by(record, "Initialize");
        EXPECT_EQ(lines.at(lines.size() - 2), row.line);
        EXPECT_TRUE(started.interface_list.empty());
        record.clear();
    }
}

TEST_F(Startup, ThreadsThatCannotBeMadeAreOnlyTold) {
    configure(std::string(own_log) + no_interface);
    {
        nuv_test::Faults faults;
        faults.fail_always(nuv_test::Call::pthread_create, EAGAIN);
        EXPECT_EQ(manager->Initialize(), NUV_NOERROR);
        EXPECT_EQ(manager->start_time_thread(), NUV_ERROR_THREAD);
    }
    EXPECT_EQ(told_by(record, "start_scan_thread"), Lines{"1 create thread_scan failed"});
    EXPECT_EQ(told_by(record, "start_time_thread"), Lines(2, "1 create thread time failed"));
    EXPECT_FALSE(manager->thread_scan_run || manager->thread_time_run);
    EXPECT_EQ(manager->start_scan_thread(), NUV_NOERROR);
    EXPECT_TRUE(manager->thread_scan.joinable());
}

TEST_F(Startup, BackEndsGetTheTopByteAndLearnOfAStaleRegistry) {
    constexpr unsigned int preset = 0x0F000003;
    configure("[INTERFACES]\nGIGE=0\n");
    manager->set_general_bits(preset);
    ASSERT_EQ(manager->Initialize(), NUV_NOERROR);
    EXPECT_EQ(manager->m_general_bits, 0x0E000003U);
    EXPECT_EQ(manager->shm_mgr->general_bits, preset);
    EXPECT_EQ(stand_in(NUV_IFTYPE_USB2).bits, 0x0E000000U);
    EXPECT_FALSE(stand_in(NUV_IFTYPE_USB2).difftime_out);
    manager->stop_threads();

    manager->shm_mgr->devlist_shm->time_stamp -= 100;
    configure(own_log);
    record.clear();
    CNuv_device_manager late;
    late.set_general_bits(preset);
    EXPECT_EQ(late.Initialize(), NUV_NOERROR);
    EXPECT_EQ(late.m_general_bits, 0x0F000003U);
    const Lines lines = told_by(record, "Initialize");
    EXPECT_EQ(lines.at(4), "2 shm_mgr returned DIFFTIME_OUT m_general_bits 0xf000003");
    EXPECT_EQ(late.interface_list.size(), 6U);
    for (const auto& [iftype, backend] : late.interface_list) {
        EXPECT_EQ(stand_in(iftype).bits, 0x0F000000U) << iftype;
        EXPECT_TRUE(stand_in(iftype).difftime_out) << iftype;
    }
}

TEST_F(Startup, InitialisedManagerRefusesToStartAgain) {
    configure(std::string(own_log) + no_interface);
    ASSERT_EQ(manager->Initialize(), NUV_NOERROR);
    CNuv_Log* const own = manager->cdevlog;
    for (const bool closed : {false, true}) {
        if (closed) {
            manager->Close();
        }
        const std::thread::id scanning = manager->thread_scan.get_id();
        record.clear();
        manager->set_general_bits(closed ? 0x4 : 0);
        EXPECT_EQ(manager->Initialize(), NUV_ERROR_INIT);
        Lines expected{"2 Initialize: init already done for this instance"};
        if (closed) {
            expected.insert(expected.begin(), "2 Initialize: general_bits found 0x4");
        }
        EXPECT_EQ(told(record), expected);
        EXPECT_EQ(manager->thread_scan.get_id(), scanning);
        EXPECT_EQ(manager->cdevlog, own);
        EXPECT_EQ(users(), 1);
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
    const Lines lines = told(record);
    EXPECT_EQ(lines.back(),
              "1 Initialize: shm_mgr Initialize returned with error. Cannot create shm.");
    EXPECT_FALSE(manager->init_done || manager->thread_scan.joinable());
    EXPECT_EQ(manager->open_grab_device_from_id(1, nullptr), NUV_ERROR_NOMEMORY);

    const CNuv_Log* const own = manager->cdevlog;
    const CNuv_ini* const locator = manager->cini.get();
    const CNuv_shm_manager* const unattached = manager->shm_mgr.get();
    record.clear();
    configure(std::string(own_log) + no_interface + "[OPTIONS]\nScantime=1234\n");
    ASSERT_EQ(manager->Initialize(), NUV_NOERROR);
    EXPECT_EQ(told(record).front(), "2 get_parameter_from_inifile: Load ini file " + ini_path);
    EXPECT_EQ(manager->scantime, 1234U);
    EXPECT_EQ(manager->cdevlog, own);
    EXPECT_EQ(manager->cini.get(), locator);
    EXPECT_NE(manager->shm_mgr.get(), unattached);
    EXPECT_EQ(users(), 1);
}

TEST_F(Startup, ThrowingBackEndLeavesAManagerThatCanStartLater) {
    Stand_in& usb3 = stand_in(NUV_IFTYPE_USB3);
    for (bool Stand_in::*when :
         {&Stand_in::throws_in_constructor, &Stand_in::throws_in_initialize}) {
        usb3.*when = true;
        EXPECT_THROW(manager->Initialize(), std::runtime_error);
        usb3.*when = false;
        EXPECT_FALSE(manager->init_done || manager->thread_time.joinable());
        EXPECT_EQ(usb3.destroyed, usb3.constructed);
    }
    ASSERT_EQ(manager->Initialize(), NUV_NOERROR);
    EXPECT_EQ(stand_in(NUV_IFTYPE_USB2).constructed, 3);
    EXPECT_EQ(stand_in(NUV_IFTYPE_USB2).destroyed, 2);
    EXPECT_EQ(manager->interface_list.size(), 6U);
    EXPECT_EQ(users(), 7);
}

}  // namespace
}  // namespace manager_test
