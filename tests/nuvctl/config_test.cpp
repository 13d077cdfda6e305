#include "nuvctl/tool.h"
#include "support/private_world.h"

#include <gtest/gtest.h>

namespace {

using namespace nuv_test;

nlohmann::json setting(const nlohmann::json& config, const std::string& key) {
    for (const nlohmann::json& one : config["settings"]) {
        if (one["key"] == key) {
            return one;
        }
    }
    return nullptr;
}

TEST(Config, EachKeyHasItsValueAndPlace) {
    const std::string path = write_ini("nuv_devicemgr",
                                       "\xEF\xBB\xBF; above\r\n[interfaces]\r\nusb3 = 0\r\n\r\n"
                                       "[OPTIONS]\rScantime=100\rScantime = 0x1000\r");
    const nlohmann::json config = answer(0, {"config"});
    EXPECT_EQ(config["file"], path);
    EXPECT_EQ(config["settings"].size(), 22u);
    EXPECT_EQ(setting(config, "USB3")["file"], path);
    expect_fields(setting(config, "USB3"), R"({"value": false, "line": 3})"_json);
    expect_fields(setting(config, "Scantime"), R"({"value": 4096, "line": 7})"_json);
    expect_fields(setting(config, "Difftime"), R"({"value": 10, "source": "default"})"_json);

    const Outcome table = run_tool({"config"});
    EXPECT_EQ(table.code, 0);
    EXPECT_EQ(table.lines[0], "Configuration file " + path);
    EXPECT_EQ(run_tool({"config", "--no-headings"}).lines[0].rfind("[INTERFACES]", 0), 0u);
    EXPECT_NE(table.messages.find(":6: [OPTIONS] Scantime is given again in line 7"),
              std::string::npos);
}

TEST(Config, CheckSaysWhatTheFileDoesNotMean) {
    const std::pair<const char*, const char*> rows[] = {
        {"[INTERFACES]\nUSB=0 ; enable later\n",
         ":2: [INTERFACES] USB = \"0 ; enable later\" reads as on"},
        {"[INTERFACES]\nUSB=yes\n", "\"yes\" reads as off"},
        {"[INTERFACES]\nUSB=Enabled\n", "\"Enabled\" reads as off"},
        {"[INTERFACE]\nUSB=0\n", ":1: section [INTERFACE] is not known"},
        {"[OPTIONS]\nUSB=0\n", "key \"USB\" is not known in [OPTIONS]; it belongs to [INTERFACES]"},
        {"USB=0\n", "before any section"},
        {"[OPTIONS\nScan=0\n", ":1: \"[OPTIONS\" is neither"},
        {"[OPTIONS]\nScan\n", ":2: \"Scan\" is neither"},
        {"[OPTIONS]\nScan=1\nscan=0\n", ":2: [OPTIONS] Scan is given again in line 3"},
        {"[OPTIONS]\nScantime=soon\n", "is no number and reads as 0, so as 500 ms"},
        {"[OPTIONS]\nScantime=100\n", "out of range (500 to 3600000) and reads as 500 ms"},
        {"[OPTIONS]\nDifftime=12s\n", "reads as 12 s; the rest is ignored"},
        {"[OPTIONS]\nGeneral_Bits=0x100000000\n", "out of range"},
        {"[LOG]\nMaxFiles=-1\n", "out of range"},
        {"[LOG]\nFile=a.log # mine\n", "a comment behind a value"},
        {"[OPTIONS]\nScantime=11000\nDifftime=60\n", ":3: a scan each 11000 ms is the only"},
    };
    for (const auto& [text, remark] : rows) {
        write_ini("nuv_devicemgr", text);
        const Outcome check = run_tool({"config", "--check"});
        EXPECT_EQ(check.code, 1) << text;
        EXPECT_NE(check.text.find(remark), std::string::npos) << text << check.text;
    }
    for (const char* text :
         {"", "[OPTIONS]\nScantime=11000\n", "[OPTIONS]\nScan=0\nScantime=11000\nDifftime=60\n",
          "[LOG]\nFile=a;b#c.log\n", "; x\n  # y\n[ interfaces ] ; z\n usb = disabled\n"}) {
        write_ini("nuv_devicemgr", text);
        const Outcome check = run_tool({"config", "--check"});
        EXPECT_EQ(check.code, 0) << text;
        EXPECT_EQ(check.text, "");
    }
}

TEST(Config, ExampleIsTheInstalledFileAndIsAccepted) {
    EXPECT_EQ(run_tool({"config", "--example", "--json"}).code, 2);
    EXPECT_EQ(run_tool({"config", "--example", "--config", EXAMPLE_INI_PATH}).code, 2);
    EXPECT_EQ(run_tool({"config", "--example"}).text, text_of_file(EXAMPLE_INI_PATH));
    EXPECT_EQ(run_tool({"config", "--check", "--config", EXAMPLE_INI_PATH}).code, 0);
}

}  // namespace
