// What a manager writes to its log: programs built elsewhere read these lines.
#include "manager_world.h"

#include <nuv/iftype.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace manager_test {
namespace {

using Session = Manager_test;

/// Puts a '#' for what stands between two texts.
void hide(std::string& text, const std::string& before, char after) {
    const std::size_t found = text.find(before);
    if (found != std::string::npos) {
        const std::size_t start = found + before.size();
        text.replace(start, text.find(after, start) - start, "#");
    }
}

/// Every line with its level, but those of the two threads, which come when they may; without what
/// no test can know.
std::string told(const nuv_test::Log_record& record) {
    std::ostringstream told;
    for (nuv_test::Log_line line : record.lines()) {
        for (const char* id : {"thread_scan 0x", "thread time 0x", "until thread 0x", "t_id "}) {
            hide(line.text, id, ' ');
        }
        hide(line.text, "Load ini file ", ' ');
        hide(line.text, "2,1,0,38, ", '\n');  // the date, up to the end
        if (line.text.find("::scan_interfaces_thread") == std::string::npos &&
            line.text.find("::time_stamp_thread") == std::string::npos) {
            told << line.text << std::hex << " |" << line.level << '\n';
        }
    }
    return told.str();
}

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
    std::ostringstream expected;
    expected << std::ifstream(SESSION_LOG).rdbuf();
    EXPECT_EQ(told(record), expected.str());
}

TEST_F(Session, EachLineGoesToOneLog) {
    manager->SetLog(log.get());
    manager->writelog(2, "%s: gate shut", "op");
    manager->add_general_bits(NUV_BIT_LOG_DEVICE_MANAGER | 1);
    manager->writelog(NUV_LOG_CYCLE, "%s: gate open %d", "op", 7);
    manager->remove_general_bits(NUV_BIT_LOG_DEVICE_MANAGER);
    manager->writelog(2, "%s: gate shut", "op");
    EXPECT_EQ(manager->m_general_bits, 1U);
    ASSERT_EQ(record.lines().size(), 1U);
    const nuv_test::Log_line line = record.lines().front();
    EXPECT_EQ(line.log, log.get());
    EXPECT_EQ(line.level, NUV_LOG_CYCLE);
    EXPECT_EQ(static_cast<unsigned int>(line.source), NUV_BIT_LOG_DEVICE_MANAGER);
    EXPECT_EQ(line.text, "CNuv_dev_manager::op: gate open 7");

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
    Stand_in& usb2 = stand_in(NUV_IFTYPE_USB2);
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
    EXPECT_EQ(users(), 1);
    manager.reset();
    EXPECT_TRUE(record.contains("close_grab_device: if_class not found"));
    EXPECT_FALSE(std::filesystem::exists("/dev/shm/nuv_device_shmem"));
}

}  // namespace
}  // namespace manager_test
