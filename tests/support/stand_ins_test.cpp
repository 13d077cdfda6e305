// The stand-ins take the place of what other libraries define: seen through libnuvdevmgr.
#include "support/faults.h"
#include "support/recording_log.h"

#include <nuv/bits.h>
#include <nuv/device_manager.h>
#include <nuv/result.h>
#include <nuv/shm_manager.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <system_error>
#include <thread>

namespace {

using nuv_test::Call;

TEST(RecordingLog, KeepsTheLibrarysLinesInOrder) {
    nuv_test::Log_record record(0x3);
    const std::unique_ptr<CNuv_Log> log = nuv_test::make_log();
    CNuv_device_manager manager;
    manager.set_general_bits(NUV_BIT_LOG_DEVICE_MANAGER);
    manager.SetLog(log.get());
    const std::vector<nuv_test::Log_line> lines = record.lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].log, log.get());
    EXPECT_EQ(lines[0].level, NUV_LOG_TRACE);
    EXPECT_NE(lines[0].text.find("SetLog: clog"), std::string::npos) << lines[0].text;
    EXPECT_NE(lines[0].text.find("loglevel 0x3"), std::string::npos) << lines[0].text;
}

TEST(Faults, OnlyTheChosenCallOfTheLibraryFails) {
    nuv_test::Faults faults;
    CNuv_shm_manager manager;
    faults.fail_nth(Call::ftruncate, 1, ENOSPC);
    EXPECT_EQ(manager.create_shm(), NUV_ERROR_NOMEMORY);
    EXPECT_EQ(faults.calls(Call::ftruncate), 1);
    EXPECT_EQ(manager.create_shm(), NUV_NOERROR);
    EXPECT_EQ(faults.calls(Call::ftruncate), 2);
}

TEST(Faults, NoThreadCanBeMadeUntilTheyEnd) {
    int ran = 0;
    {
        nuv_test::Faults faults;
        faults.fail_always(Call::pthread_create, EAGAIN);
        EXPECT_THROW(std::thread([&] { ++ran; }).join(), std::system_error);
    }
    std::thread([&] { ++ran; }).join();
    EXPECT_EQ(ran, 1);
}

TEST(Faults, HookRunsBeforeTheCall) {
    static int number_seen = 0;
    nuv_test::Faults faults;
    faults.before(Call::mmap, [](int number) { number_seen = number; });
    CNuv_shm_manager manager;
    ASSERT_EQ(manager.create_shm(), NUV_NOERROR);
    EXPECT_EQ(number_seen, 1);
}

}  // namespace
