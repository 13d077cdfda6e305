#include "manager_world.h"

#include <nuvkit/config_keys.h>
#include <nuvkit/ini.h>

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace manager_test {
namespace {

class Configuration : public Manager_test {
protected:
    Configuration() {
        manager->cini = std::make_unique<CNuv_ini>("nuv_devicemgr");
        manager->cdevlog = nuv_test::make_log().release();
    }

    /// Reads an INI text, with the general bits and every option word at `word` and the times at
    /// their defaults. \return what differs afterwards
    std::string changes(const std::string& text, std::uint32_t word = 0) {
        configure(text);
        std::fill_n(manager->interface_options, NUV_IFTYPE_COUNT, word);
        manager->m_general_bits = word;
        manager->scantime = 5000;
        manager->difftime = 10;
        record.clear();
        EXPECT_EQ(manager->get_parameter_from_inifile(), 0U) << text;
        std::ostringstream found;
        const auto tell = [&found](auto name, std::uint64_t now, std::uint64_t then) {
            if (now != then) {
                found << name << '=' << now << ' ';
            }
        };
        for (unsigned int type = 0; type < NUV_IFTYPE_COUNT; ++type) {
            tell(type, manager->interface_options[type], word);
        }
        tell("bits", manager->m_general_bits, word);
        tell("scantime", manager->scantime, 5000);
        tell("difftime", manager->difftime, 10);
        return found.str();
    }
};

TEST_F(Configuration, EachSwitchChangesItsOwnBitAndSaysSo) {
    std::string seen;
    const auto see = [&](const std::string& text, std::uint32_t word) {
        seen += changes(text, word);
        seen += told(record, {{".*get_parameter_from_inifile: (Load ini file.*)?", ""}});
    };
    for (const nuvkit::Config_key& key : nuvkit::config_keys) {
        if (key.kind == nuvkit::Value_kind::on_off && key.section != std::string("LOG")) {
            const std::string line = "[" + std::string(key.section) + "]\n" + key.name;
            see(line + "=dis\n", 0);
            see(line + "=ena\n", 0xFF);
        }
    }
    EXPECT_EQ(seen, nuv_test::text_of_file(DOCUMENTED_LINES "/switches.log"));
}

TEST_F(Configuration, SwitchValuesAreOnOrOff) {
    for (const char* value : {"enabled", "ena", "1", "0x10", "010", "2x", "  1 ", "dis_ena", "-1",
                              "disabled ; ena", "0 ena", "99999999999999999999999"}) {
        EXPECT_EQ(changes("[INTERFACES]\nUSB=" + std::string(value) + "\n", 1), "6=0 ") << value;
    }
    for (const char* value : {"disabled", "dis", "0", "0x0", "", "yes", "Enabled", "ENABLE", "DIS",
                              "1dis", "0 ; 1", "; 1"}) {
        EXPECT_EQ(changes("[INTERFACES]\nUSB=" + std::string(value) + "\n"), "6=1 ") << value;
    }
}

TEST_F(Configuration, TextsAndNumbersOfAnyShapeAreRead) {
    const std::pair<const char*, const char*> rows[] = {
        {"[OPTIONS]\nGeneral_Bits=0x1FFFFFFFE", "bits=4294967294 "},
        {"[OPTIONS]\nGeneral_Bits=017 rest", "bits=15 "},
        {"[OPTIONS]\nGeneral_Bits=0x80000001\nScan=1", "bits=2147483648 "},
        {"[OPTIONS]\nScan=0\nGeneral_Bits=6", "bits=7 "},
        {"[OPTIONS]\nScantime=soon", "scantime=500 "},
        {"[OPTIONS]\nScantime=3600001", "scantime=3600000 "},
        {"[OPTIONS]\nDifftime=12s", "difftime=12 "},
        {"[OPTIONS]\nDifftime=999999999999999999999", "difftime=18446744073709551615 "},
        {"[OPTIONS]\nScantime=700\nScantime=900\n", "scantime=900 "},
        {"[interfaces]\nusb3=0\n[options]\nSCANTIME=700\n", "8=1 scantime=700 "},
        {"\xEF\xBB\xBF[INTERFACES]\r\nUSB3 = 0\r\n", "8=1 "},
        {"[OPTIONS]\n; Scantime=700\n# Difftime=1\n", ""},
        {"USB3=0\n[OPTIONS]\nUSB=0\n[INTERFACES]\nME4_SCAN=0\n", ""},
        {"[INTERFACES\nUSB=0\n=\n]\n\xFF\xFE", ""},
        {"", ""},
    };
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(changes(text), expected) << text;
    }
    const std::string with_zero("[INTERFACES]\nUSB3=0\n\0\nUSB=0\n", 28);
    EXPECT_EQ(changes(with_zero), "8=1 ");
}

TEST_F(Configuration, UnreadableFileLeavesTheDefaultsAndIsTold) {
    const std::string path = nuv_test::config_folder() + "/nuv_devicemgr.ini";
    EXPECT_EQ(manager->get_parameter_from_inifile(), NUV_INI_NOT_FOUND);
    EXPECT_TRUE(record.contains("get_parameter_from_inifile: no ini file found"));
    const auto expect_failure = [&](const char* kind) {
        EXPECT_EQ(manager->get_parameter_from_inifile(), NUV_ERROR_INI_LOAD) << kind;
        EXPECT_TRUE(record.contains("loading file " + path + " failed -")) << kind;
        record.clear();
        std::filesystem::remove(path);
    };
    std::filesystem::create_directory(path);
    expect_failure("folder");
    mkfifo(path.c_str(), 0600);
    expect_failure("pipe that nobody writes to");
    manager->cini.reset();
    EXPECT_EQ(manager->get_parameter_from_inifile(), NUV_ERROR_NO_INI_LOCATOR);
    EXPECT_EQ(manager->m_general_bits, 0U);
    EXPECT_EQ(manager->scantime, nuvkit::definition_of(nuvkit::Key::scantime).fallback);
    EXPECT_EQ(manager->difftime, nuvkit::definition_of(nuvkit::Key::difftime).fallback);
    for (int type = 0; type < static_cast<int>(NUV_IFTYPE_COUNT); ++type) {
        EXPECT_EQ(manager->get_interface_options(type), type == NUV_IFTYPE_ME4 ? 2U : 0U) << type;
    }
}

}  // namespace
}  // namespace manager_test
