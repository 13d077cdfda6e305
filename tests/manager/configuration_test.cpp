#include "manager_world.h"

#include <nuv/iftype.h>

#include <nuvkit/config_keys.h>
#include <nuvkit/ini.h>

#include <sys/stat.h>

#include <cstring>
#include <filesystem>
#include <sstream>

// The parser asks for an absurd amount of memory when the file is a directory, and is to be told
// that there is not so much.
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}
extern "C" const char* __tsan_default_options() {
    return "allocator_may_return_null=1";
}

namespace manager_test {
namespace {

constexpr char op[] = "get_parameter_from_inifile";

struct Fields {
    std::uint32_t bits = 0;
    std::uint32_t scantime = 5000;
    std::uint64_t difftime = 10;
    std::uint32_t options[NUV_IFTYPE_COUNT] = {};
};

class Configuration : public Manager_test {
protected:
    Configuration() {
        manager->cini = std::make_unique<CNuv_ini>("nuv_devicemgr");
        manager->SetLog(log.get());
        manager->set_general_bits(NUV_BIT_LOG_DEVICE_MANAGER);
        record.clear();
    }

    /// Reads an INI text over given fields. \return what differs afterwards
    std::string changes(const std::string& text, const Fields& before = {}) {
        configure(text);
        manager->m_general_bits = before.bits;
        manager->scantime = before.scantime;
        manager->difftime = before.difftime;
        std::memcpy(manager->interface_options, before.options, sizeof before.options);
        EXPECT_EQ(manager->get_parameter_from_inifile(), 0U) << text;
        std::ostringstream found;
        for (unsigned int type = 0; type < NUV_IFTYPE_COUNT; ++type) {
            if (manager->interface_options[type] != before.options[type]) {
                found << type << '=' << manager->interface_options[type] << ' ';
            }
        }
        const auto tell = [&found](const char* name, std::uint64_t now, std::uint64_t then) {
            if (now != then) {
                found << name << '=' << now << ' ';
            }
        };
        tell("bits", manager->m_general_bits, before.bits);
        tell("scantime", manager->scantime, before.scantime);
        tell("difftime", manager->difftime, before.difftime);
        return found.str();
    }
};

Fields all_options_set() {
    Fields fields;
    for (std::uint32_t& word : fields.options) {
        word = 0xF3;
    }
    return fields;
}

TEST_F(Configuration, EachSwitchChangesItsOwnBit) {
    const struct {
        const char* key;
        const char* when_off;
        const char* when_on;
    } rows[] = {
        {"USB", "6=1 ", "6=242 "},
        {"USB3", "8=1 ", "8=242 "},
        {"ME4", "7=1 ", "7=242 "},
        {"CLHS_SISO", "12=1 ", "12=242 "},
        {"CLHS_KAYA", "13=1 ", "13=242 "},
        {"GIGE", "5=1 ", "5=242 "},
        {"USB_SCAN", "6=2 ", "6=241 "},
        {"USB3_SCAN", "8=2 ", "8=241 "},
        {"CLHS_SISO_SCAN", "12=2 ", "12=241 "},
        {"CLHS_KAYA_SCAN", "13=2 ", "13=241 "},
        {"GIGE_SCAN", "5=2 ", "5=241 "},
        {"ME4_SCAN", "", ""},
    };
    for (const auto& row : rows) {
        const std::string line = std::string("[INTERFACES]\n") + row.key;
        EXPECT_EQ(changes(line + "=dis\n"), row.when_off) << row.key;
        EXPECT_EQ(changes(line + "=ena\n", all_options_set()), row.when_on) << row.key;
        EXPECT_EQ(changes("[OPTIONS]\n" + std::string(row.key) + "=dis\n"), "") << row.key;
    }
    Fields scan_off;
    scan_off.bits = 0xF3;
    EXPECT_EQ(changes("[OPTIONS]\nScan=dis\n"), "bits=1 ");
    EXPECT_EQ(changes("[OPTIONS]\nScan=ena\n", scan_off), "bits=242 ");
}

TEST_F(Configuration, SwitchValuesAreOnOrOff) {
    for (const char* value : {"enabled", "ena", "1", "0x10", "010", "2x", "  1 ", "dis_ena", "-1",
                              "disabled ; ena", "0 ena", "99999999999999999999999"}) {
        EXPECT_EQ(changes("[INTERFACES]\nUSB=" + std::string(value) + "\n", all_options_set()),
                  "6=242 ")
            << value;
    }
    for (const char* value : {"disabled", "dis", "0", "0x0", "", "yes", "Enabled", "ENABLE", "DIS",
                              "1dis", "0 ; 1", "; 1"}) {
        EXPECT_EQ(changes("[INTERFACES]\nUSB=" + std::string(value) + "\n"), "6=1 ") << value;
    }
}

TEST_F(Configuration, NumbersAreReadInAnyBaseAndLimited) {
    const struct {
        const char* line;
        const char* expected;
    } rows[] = {
        {"General_Bits=0x80000001", "bits=2147483649 "},
        {"General_Bits=0x1FFFFFFFE", "bits=4294967294 "},
        {"General_Bits=-1", "bits=4294967295 "},
        {"General_Bits=017 rest", "bits=15 "},
        {"General_Bits=0x80000001\nScan=1", "bits=2147483648 "},
        {"Scan=0\nGeneral_Bits=6", "bits=7 "},
        {"Scantime=100", "scantime=500 "},
        {"Scantime=499", "scantime=500 "},
        {"Scantime=501", "scantime=501 "},
        {"Scantime=0x1000", "scantime=4096 "},
        {"Scantime=010000", "scantime=4096 "},
        {"Scantime=", "scantime=500 "},
        {"Scantime=soon", "scantime=500 "},
        {"Scantime=3600000", "scantime=3600000 "},
        {"Scantime=3600001", "scantime=3600000 "},
        {"Scantime=0x100000001", "scantime=3600000 "},
        {"Scantime=-1", "scantime=3600000 "},
        {"Difftime=0", "difftime=0 "},
        {"Difftime=none", "difftime=0 "},
        {"Difftime=12s", "difftime=12 "},
        {"Difftime=18446744073709551615", "difftime=18446744073709551615 "},
        {"Difftime=999999999999999999999", "difftime=18446744073709551615 "},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(changes(std::string("[OPTIONS]\n") + row.line + "\n"), row.expected) << row.line;
    }
    Fields preset;
    preset.bits = 0x30;
    EXPECT_EQ(changes("[OPTIONS]\nGeneral_Bits=zero\n", preset), "bits=0 ");
    EXPECT_EQ(changes("[OPTIONS]\nScan=0\n", preset), "bits=49 ");
}

TEST_F(Configuration, TextsOfAnyShapeAreRead) {
    const std::string nul(1, '\0');
    const struct {
        std::string text;
        const char* expected;
    } rows[] = {
        {"[interfaces]\nusb3=0\n[options]\nSCANTIME=700\n", "8=1 scantime=700 "},
        {"\xEF\xBB\xBF[INTERFACES]\nUSB3=0\n", "8=1 "},
        {"[INTERFACES]\r\nUSB3 = 0\r\n[OPTIONS]\r\nDifftime = 4\r\n", "8=1 difftime=4 "},
        {"[INTERFACES]\nUSB3=0\n" + nul + "\nUSB=0\n", "8=1 "},
        {"[OPTIONS]\nScantime=700\nScantime=900\n", "scantime=900 "},
        {"[OPTIONS]\nScantime=700", "scantime=700 "},
        {"[OPTIONS]\n; Scantime=700\n# Difftime=1\n", ""},
        {"USB3=0\n[OTHER]\nUSB=0\n", ""},
        {"[INTERFACES\nUSB=0\n=\n]\n\xFF\xFE", ""},
        {nul + nul +
             "\x7F"
             "ELF",
         ""},
        {"", ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(changes(row.text), row.expected) << row.text;
    }
}

TEST_F(Configuration, FifteenKeysAreToldInTheirOrder) {
    const auto with = [this](const std::string& value) {
        configure("[OPTIONS]\nDifftime=0x10\nScantime=900\nScan=" + value +
                  "\nGeneral_Bits=0x80000000\n[INTERFACES]\nGIGE_SCAN=" + value +
                  "\nCLHS_KAYA_SCAN=" + value + "\nCLHS_SISO_SCAN=" + value +
                  "\nUSB3_SCAN=" + value + "\nUSB_SCAN=" + value + "\nGIGE=" + value +
                  "\nCLHS_KAYA=" + value + "\nCLHS_SISO=" + value + "\nME4=" + value +
                  "\nUSB3=" + value + "\nUSB=" + value + "\n");
    };
    for (const std::string state : {"enabled", "disabled"}) {
        record.clear();
        with(state);
        ASSERT_EQ(manager->get_parameter_from_inifile(), 0U);
        Lines expected{"2 Load ini file " + ini_path};
        for (const char* name : {"USB", "USB3", "ME4", "CLHS_SISO", "CLHS_KAYA", "GIGE"}) {
            expected.push_back("2 " + std::string(name) + " interface " + state);
        }
        for (const char* name : {"USB", "USB3", "CLHS_SISO", "CLHS_KAYA", "GIGE"}) {
            expected.push_back("2 " + std::string(name) + " interface scan " + state);
        }
        expected.insert(expected.end(),
                        {"2 m_general_bits set to -2147483648s", "2 scan thread " + state,
                         "2 scantime set to 900ms", "2 difftime set to 16s"});
        EXPECT_EQ(told_by(record, op), expected);
    }
}

TEST_F(Configuration, UnreadableFileChangesNothingAndIsTold) {
    const std::string path = nuv_test::config_folder() + "/nuv_devicemgr.ini";
    const auto failure = [&](const std::string& code) {
        return Lines{"2 Load ini file " + path, "2 loading file " + path + " failed " + code};
    };
    EXPECT_EQ(manager->get_parameter_from_inifile(), NUV_INI_NOT_FOUND);
    EXPECT_EQ(told_by(record, op), Lines{"2 no ini file found"});

    for (const mode_t kind : {mode_t{S_IFSOCK}, mode_t{S_IFIFO}}) {
        record.clear();
        ASSERT_EQ(mknod(path.c_str(), kind | 0600U, 0), 0);
        EXPECT_EQ(manager->get_parameter_from_inifile(), NUV_ERROR_INI_LOAD);
        EXPECT_EQ(told_by(record, op), failure("-3"));
        std::filesystem::remove(path);
    }
    record.clear();
    std::filesystem::create_directory(path);
    EXPECT_EQ(manager->get_parameter_from_inifile(), NUV_ERROR_INI_LOAD);
    EXPECT_EQ(told_by(record, op), failure("-2"));

    record.clear();
    manager->cini.reset();
    EXPECT_EQ(manager->get_parameter_from_inifile(), NUV_ERROR_NO_INI_LOCATOR);
    EXPECT_EQ(record.lines().size(), 0U);
    EXPECT_EQ(manager->m_general_bits, NUV_BIT_LOG_DEVICE_MANAGER);
    EXPECT_EQ(manager->scantime, 5000U);
}

TEST_F(Configuration, NewManagerHasItsDefaults) {
    const CNuv_device_manager fresh;
    EXPECT_EQ(fresh.scantime, 5000U);
    EXPECT_EQ(fresh.difftime, 10U);
    EXPECT_EQ(fresh.m_general_bits, 0U);
    for (unsigned int type = 0; type < NUV_IFTYPE_COUNT; ++type) {
        EXPECT_EQ(fresh.interface_options[type], type == NUV_IFTYPE_ME4 ? 2U : 0U) << type;
    }
    using nuvkit::Key;
    EXPECT_EQ(fresh.scantime, nuvkit::definition_of(Key::scantime).fallback);
    EXPECT_EQ(fresh.difftime, nuvkit::definition_of(Key::difftime).fallback);
    const CNuv_Log::Settings log_settings;
    EXPECT_EQ(log_settings.sources, nuvkit::definition_of(Key::log_sources).fallback);
    EXPECT_EQ(log_settings.interface_types, nuvkit::definition_of(Key::log_interfaces).fallback);
    EXPECT_EQ(log_settings.max_size, nuvkit::definition_of(Key::log_max_size).fallback);
    EXPECT_EQ(log_settings.max_files, nuvkit::definition_of(Key::log_max_files).fallback);
}

}  // namespace
}  // namespace manager_test
