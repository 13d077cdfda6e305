#include "support/child_process.h"
#include "support/private_world.h"

#include <nuv/bits.h>

#include <nuvkit/log.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <thread>

namespace {

using Lines = std::vector<std::string>;

constexpr int from_manager = static_cast<int>(NUV_BIT_LOG_DEVICE_MANAGER);
constexpr int from_usb3 = static_cast<int>(NUV_BIT_LOG_INTERFACE | 8U << 16);

std::string path_of(const std::string& name) {
    return nuv_test::config_folder() + "/" + name;
}

CNuv_Log::Settings all_to(const std::string& name) {
    CNuv_Log::Settings settings;
    settings.level_bits = 0xFFFFFFFF;
    settings.file = path_of(name);
    return settings;
}

/// The lines of a file behind their date, time, process and thread.
Lines lines_of(const std::string& name) {
    std::ifstream file(path_of(name));
    Lines lines;
    for (std::string line; std::getline(file, line);) {
        int stamp = 0;
        std::sscanf(line.c_str(), "%*4d-%*2d-%*2d %*2d:%*2d:%*2d.%*3d %*d:%*d%n", &stamp);
        lines.push_back(stamp != 0 ? line.substr(static_cast<std::size_t>(stamp)) : "no " + line);
    }
    return lines;
}

NUV_PRINTF_FORMAT(2, 3) void write_list(CNuv_Log& log, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    log.writelog(NUV_LOG_TRACE, from_manager, format, arguments);
    va_end(arguments);
}

TEST(Log, LinesAreSelectedByLevelBitsAndSourceWord) {
    auto settings = all_to("a.log");
    settings.level_bits = NUV_LOG_ERROR | NUV_LOG_THREAD;
    settings.sources = NUV_BIT_LOG_INTERFACE;
    settings.interface_types = 1U << 8;
    CNuv_Log log(settings);
    EXPECT_EQ(log.get_logbits(), NUV_LOG_ERROR | NUV_LOG_THREAD);
    log.writelog(NUV_LOG_ERROR, from_usb3, "kept");
    log.writelog(NUV_LOG_TRACE | NUV_LOG_THREAD, 0, "also kept");  // one bit, no class
    log.writelog(NUV_LOG_TRACE, from_usb3, "other level");
    log.writelog(NUV_LOG_ERROR, from_manager, "other class");
    log.writelog(NUV_LOG_ERROR, static_cast<int>(NUV_BIT_LOG_INTERFACE | 5U << 16), "other type");
    log.writelog(NUV_LOG_ERROR, from_usb3, nullptr);
    log.set_lib_vers("whatever%s", "1,2", nullptr);

    EXPECT_EQ(lines_of("a.log"), (Lines{" 0x1 interface-8 kept", " 0xa 0x00000000 also kept",
                                        " 0x2 manager log of whatever%s 1,2 "}));
}

TEST(Log, TextIsNeverTakenForAFormatOrForMoreThanOneLine) {
    CNuv_Log log(all_to("a.log"));
    log.writelog(NUV_LOG_TRACE, from_manager, "100%% {} {0:>9999}");
    write_list(log, "%s is %d%%", "%s%n", 7);
    write_list(log, "%s", "a\n2026-01-01 00:00:00.000 1:1 0x1 manager forged\r\t\x1b[31m\x7f");
    write_list(log, "%s", std::string(2000, '\1').c_str());
    Lines lines = lines_of("a.log");
    EXPECT_EQ(lines.back().size(), std::string(" 0x2 manager ").size() + 4 * 1023U);
    lines.pop_back();
    EXPECT_EQ(
        lines,
        (Lines{
            " 0x2 manager 100% {} {0:>9999}", " 0x2 manager %s%n is 7%",
            R"( 0x2 manager a\n2026-01-01 00:00:00.000 1:1 0x1 manager forged\r\t\x1b[31m\x7f)"}));
}

TEST(Log, FullFileIsRenamedAndOnlySoManyAreKept) {
    auto settings = all_to("a.log");
    settings.max_size = 10;
    settings.max_files = 2;
    CNuv_Log log(settings);
    for (int i = 0; i < 5; ++i) {
        log.writelog(NUV_LOG_TRACE, from_manager, "line %d", i);
    }
    EXPECT_EQ(lines_of("a.2.log"), Lines{" 0x2 manager line 2"});
    EXPECT_FALSE(std::filesystem::exists(path_of("a.3.log")));
}

TEST(Log, KilledProcessLeavesItsLinesInAFileOfItsOwn) {
    nuv_test::Process child([] {
        CNuv_Log log(all_to("new folder/100%%.%p.%d.log"));
        log.writelog(NUV_LOG_TRACE, from_manager, "last words");
        raise(SIGKILL);
    });
    child.wait();
    EXPECT_EQ(lines_of("new folder/100%." + std::to_string(child.pid()) + ".%d.log"),
              Lines{" 0x2 manager last words"});
}

TEST(Log, EachLineNamesTheProcessAndTheThreadThatWroteIt) {
    CNuv_Log log(all_to("a.log"));
    const auto write = [&log] {
        log.writelog(NUV_LOG_TRACE, from_manager, "%d:%d", getpid(), gettid());
    };
    write();
    std::thread(write).join();
    EXPECT_EQ(nuv_test::Process(write).wait(), 0);
    std::ifstream file(path_of("a.log"));
    int lines = 0;
    for (std::string line; std::getline(file, line); ++lines) {
        const std::string writer = line.substr(line.rfind(' '));
        EXPECT_NE(line.find(writer + " 0x2 manager" + writer), std::string::npos) << line;
    }
    EXPECT_EQ(lines, 3);
}

TEST(Log, LinesOfManyThreadsStayWholeAndAForkedChildCanWrite) {
    auto settings = all_to("a.log");
    settings.max_size = 0;
    CNuv_Log log(settings);
    std::atomic<bool> stop{false};
    std::vector<std::thread> writers;
    for (const char letter : {'a', 'b', 'c'}) {
        writers.emplace_back([&, text = std::string(200, letter)] {
            while (!stop) {
                log.writelog(NUV_LOG_TRACE, from_manager, "%s", text.c_str());
                std::this_thread::sleep_for(std::chrono::microseconds(20));
            }
        });
    }
    for (int i = 0; i < 50; ++i) {
        nuv_test::Process child([&log] {
            alarm(20);  // a deadlock ends as a death by signal
            log.writelog(NUV_LOG_TRACE, from_manager, "%s", std::string(200, 'd').c_str());
        });
        ASSERT_EQ(child.wait(), 0);
    }
    stop = true;
    for (std::thread& one : writers) {
        one.join();
    }
    const auto lines = lines_of("a.log");
    EXPECT_GE(lines.size(), 50U);
    for (const std::string& line : lines) {
        ASSERT_EQ(line, " 0x2 manager " + std::string(200, line.back()));
    }
}

TEST(Log, FileThatCannotBeOpenedIsReportedOnceAndTheConsoleGoesOn) {
    auto settings = all_to("");
    settings.file = "/proc/no/such.log";
    settings.console = true;
    testing::internal::CaptureStderr();
    CNuv_Log log(settings);
    log.writelog(NUV_LOG_TRACE, from_manager, "first");
    log.writelog(NUV_LOG_TRACE, from_manager, "second");
    const std::string written = testing::internal::GetCapturedStderr();
    EXPECT_NE(written.find("such.log"), std::string::npos);
    EXPECT_EQ(written.find("such.log"), written.rfind("such.log"));
    EXPECT_NE(written.find("manager second\n"), std::string::npos);
}

}  // namespace
