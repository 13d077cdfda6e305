// What a manager writes to its log: programs built elsewhere read these lines.
#include "manager_world.h"
#include "support/recording_log.h"

#include <ctime>

namespace manager_test {
namespace {

using Session = Manager_test;

// Without the lines of the two threads, which come when they may.
TEST_F(Session, EachStepIsToldInOrder) {
    configure(std::string(own_log) + no_interface +
              "USB=1\nGIGE=1\n[OPTIONS]\nGeneral_Bits=0x40000000\nScantime=3600000\nDifftime=16\n");
    stand_in(NUV_IFTYPE_GIGE).in_step = [](Step) { return 0xA0000077; };
    manager->set_general_bits(NUV_BIT_LOG_INTERFACE);
    ASSERT_EQ(manager->Initialize(), NUV_NOERROR);
    EXPECT_EQ(manager->Initialize(), NUV_ERROR_INIT);
    EXPECT_EQ(manager->start_scan_thread(), NUV_NOERROR);
    EXPECT_EQ(manager->start_time_thread(), NUV_NOERROR);
    EXPECT_EQ(manager->scan_interface(NUV_IFTYPE_USB2), 0U);

    manager->shm_mgr->sema_update->set_general_bits(NUV_BIT_LOG_SEM_ACCESS);
    CNuv_grab* grab = nullptr;
    CNuv_com* com = nullptr;
    const unsigned int id = add_camera(NUV_IFTYPE_USB2, 1234);
    EXPECT_EQ(manager->open_grab_device_from_id(id, &grab), 0U);
    EXPECT_EQ(manager->open_com_device_from_id(id, &com), 0U);
    manager->Close();
    EXPECT_EQ(manager->Initialize(), NUV_ERROR_INIT);
    manager.reset();
    const std::string versions = record.texts().front();
    tm date{};
    EXPECT_NE(strptime(versions.substr(versions.size() - 11).c_str(), "%b %e %Y", &date), nullptr);
    EXPECT_EQ(told(record, {{".*(scan_interfaces_thread|time_stamp_thread).*", ""},
                            {"(thread_scan|thread time|until thread) 0x\\w+", "$1 #"},
                            {"(t_id|Load ini file) \\S+", "$1 #"},
                            {"2,1,0,38, .*", "2,1,0,38, #"},
                            {": $", ": (nothing)"}}),
              nuv_test::text_of_file(DOCUMENTED_LINES "/session.log"));
}

TEST_F(Session, EachLineGoesToOneLog) {
    manager->SetLog(log.get());
    manager->add_general_bits(NUV_BIT_LOG_DEVICE_MANAGER | 1);
    manager->writelog(NUV_LOG_CYCLE, "%s: gate open %d", "op", 7);
    manager->remove_general_bits(NUV_BIT_LOG_DEVICE_MANAGER);
    manager->writelog(2, "%s: gate shut", "op");
    EXPECT_EQ(manager->m_general_bits, 1U);
    EXPECT_EQ(told(record, {}), "80000000 80000 CNuv_dev_manager::op: gate open 7\n");

    initialize_quietly(std::string(own_log) + no_interface);
    manager->set_general_bits(NUV_BIT_LOG_DEVICE_MANAGER);
    manager->SetLog(log.get());
    EXPECT_TRUE(record.contains("SetLog: clog 0x"));
    EXPECT_EQ(record.texts(manager->cdevlog).size(), record.lines().size()) << "its own takes all";
}

// The back-end refuses to close the first grabber, now and when the manager ends.
TEST_F(Session, OpenDevicesAreClosedAndBackEndsDeletedAtTheEnd) {
    manager->Close();  // never initialised: there is nothing to close
    initialize_quietly(std::string(own_log) + usb_only);
    const unsigned int camera = add_camera(NUV_IFTYPE_USB2, 11);
    for (int i = 0; i < 3; ++i) {
        CNuv_grab* grab = nullptr;
        CNuv_com* com = nullptr;
        EXPECT_EQ(manager->open_grab_device_from_id(camera, &grab), 0U);
        EXPECT_EQ(manager->open_com_device_from_id(camera, &com), 0U);
    }
    usb2.in_step = [&](Step) { return usb2.count(Step::close) == 1 ? 0x99U : 0U; };
    manager->Close();
    EXPECT_EQ(usb2.count(Step::close), 6);
    EXPECT_EQ(usb2.count(Step::destroy) + stand_in(NUV_IFTYPE_USB3).count(Step::destroy), 2);
    EXPECT_EQ(manager->grabdev_list.size(), 1U);
    EXPECT_EQ(manager->comdev_list.size(), 0U);
    EXPECT_EQ(+region().opencount, 1);
    manager.reset();
    EXPECT_TRUE(record.contains("close_grab_device: if_class not found"));
    EXPECT_FALSE(nuv_test::region_exists());
}

}  // namespace
}  // namespace manager_test
