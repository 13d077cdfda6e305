#include "manager_world.h"

#include <cstdio>

namespace manager_test {
namespace {

using Logging = Manager_test;

TEST_F(Logging, OneLogGetsEachLine) {
    manager->SetLog(log.get());
    manager->writelog(2, "%s: gate shut", "op");
    EXPECT_EQ(record.lines().size(), 0U);
    manager->add_general_bits(NUV_BIT_LOG_DEVICE_MANAGER);
    manager->writelog(0x80000, "%s: gate open %d", "op", 7);
    manager->SetLog(nullptr);
    manager->writelog(2, "%s: no log", "op");
    ASSERT_EQ(record.lines().size(), 1U);
    const nuv_test::Log_line line = record.lines().front();
    EXPECT_EQ(line.log, log.get());
    EXPECT_EQ(line.level, 0x80000U);
    EXPECT_EQ(static_cast<unsigned int>(line.source), 0x80000000U);
    EXPECT_EQ(line.text, "CNuv_dev_manager::op: gate open 7");

    // The manager's own log takes all, whatever the gate.
    initialize_quietly(std::string(own_log) + no_interface);
    for (const unsigned int bits : {0U, NUV_BIT_LOG_DEVICE_MANAGER}) {
        manager->set_general_bits(bits);
        manager->SetLog(log.get());
        manager->Close();
    }
    EXPECT_TRUE(record.texts(log.get()).empty());
    EXPECT_EQ(record.texts(manager->cdevlog).size(), record.lines().size());
    char expected[100];
    std::snprintf(expected, sizeof expected, "CNuv_dev_manager::SetLog: clog %p loglevel 0x%x",
                  static_cast<void*>(log.get()), log->get_logbits());
    EXPECT_EQ(record.texts().front(), expected);
}

TEST_F(Logging, LineIsPlainTextOfAtMost299Characters) {
    manager->set_general_bits(NUV_BIT_LOG_DEVICE_MANAGER);
    manager->SetLog(log.get());
    record.clear();
    manager->writelog(1, "%s: %s", "op", "100%s %n %");
    manager->writelog(1, "%s", std::string(281, 'x').c_str());
    manager->writelog(1, "%s", std::string(400, 'x').c_str());
    manager->writelog(1, "%s", std::string(400, '%').c_str());
    const std::string prefix = "CNuv_dev_manager::";
    const std::string full = prefix + std::string(281, 'x');
    EXPECT_EQ(full.size(), 299U);
    EXPECT_EQ(record.texts(),
              (Lines{prefix + "op: 100%s %n %", full, full, prefix + std::string(281, '%')}));
}

TEST_F(Logging, BitsAreReplacedAddedAndCleared) {
    EXPECT_EQ(manager->set_general_bits(0xF0), 0U);
    EXPECT_EQ(manager->add_general_bits(0x11), 0U);
    EXPECT_EQ(manager->m_general_bits, 0xF1U);
    EXPECT_EQ(manager->remove_general_bits(0x31), 0U);
    EXPECT_EQ(manager->m_general_bits, 0xC0U);
    EXPECT_EQ(manager->set_general_bits(1), 0U);
    EXPECT_EQ(manager->m_general_bits, 1U);
}

}  // namespace
}  // namespace manager_test
