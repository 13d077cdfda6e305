#include "bench_inventory.h"
#include "support/recording_log.h"

#include <nuv/iftype.h>

#include <gtest/gtest.h>

#include <regex>
#include <set>

namespace {

using nuvkit::Bench_inventory;
using nuvkit::parse_bench_inventory;

// What most keys do, the back-end's tests show.
TEST(Inventory, KeysAreReadInAnyCaseAndNumbersInAnyBase) {
    const Bench_inventory inventory = parse_bench_inventory(
        "\xEF\xBB\xBF[right]\r\nINTERFACE=gige\r\nSerial=0x10\nname=My \xFF\x01 ; really\n"
        "plugged=No\nclose_delay_ms=600000\n"
        "[Backend clhs_siso]\ninitialize_delay_ms=2\nscan_delay_ms=4\n");
    EXPECT_TRUE(inventory.remarks.empty());
    const nuvkit::Bench_camera& camera = inventory.cameras.at(0);
    EXPECT_EQ(camera.iftype, NUV_IFTYPE_GIGE);
    EXPECT_EQ(camera.serialnumber, 16U);
    EXPECT_EQ(camera.name, "My \xFF\x01 ; really");
    EXPECT_FALSE(camera.plugged);
    EXPECT_EQ(camera.close_delay_ms, 600000U);
    const nuvkit::Bench_backend& backend = inventory.backends.at(NUV_IFTYPE_CLHS_ME5);
    EXPECT_EQ(backend.initialize_delay_ms, 2U);
    EXPECT_EQ(backend.scan_delay_ms, 4U);
}

TEST(Inventory, InstalledExampleIsUnderstoodWithAllThatItOffers) {
    const std::string example = nuv_test::text_of_file(EXAMPLE_CAMERAS_PATH);
    const std::string whole = std::regex_replace(example, std::regex("\n;(?=[^ ])"), "\n");
    const Bench_inventory inventory = parse_bench_inventory(whole);
    EXPECT_TRUE(inventory.remarks.empty()) << inventory.remarks[0];
    std::set<std::uint16_t> interfaces;
    for (const nuvkit::Bench_camera& camera : inventory.cameras) {
        interfaces.insert(camera.iftype);
    }
    EXPECT_EQ(interfaces.size(), 6U);
    EXPECT_EQ(inventory.backends.count(NUV_IFTYPE_GIGE), 1U);
}

TEST(Inventory, KeyTellsCamerasApartThatShareASerialNumber) {
    const auto key = [](const std::string& section, const std::string& serial) {
        return parse_bench_inventory("[" + section + "]\ninterface=ME4\nserial=" + serial)
            .cameras.at(0)
            .key;
    };
    EXPECT_NE(key("a", "5"), key("b", "5"));
    EXPECT_NE(key("a", "5"), key("a", "6"));
    EXPECT_EQ(key("Cam", "5"), key("cam", "0x5\nname=other\nplugged=off"));
}

TEST(Inventory, WhatIsNotUnderstoodIsLeftOutAndNamed) {
    const std::string usb = "interface=USB3\n";
    for (const std::string& keys :
         {std::string("serial=5"), std::string("interface=USB\nserial=5"), usb, usb + "serial=0",
          usb + "serial=", usb + "serial=-1", usb + "serial=5x", usb + "serial=0x",
          usb + "serial=4294967296", usb + "serial=99999999999999999999999",
          usb + "serial=5\nplugged=perhaps", usb + "serial=5\nopen_result=bad",
          usb + "serial=5\nopen_delay_ms=600001"}) {
        const auto inventory =
            parse_bench_inventory("[odd]\n" + keys + "\n[good]\ninterface=USB2\nserial=1\n");
        EXPECT_EQ(inventory.cameras.size(), 1U) << keys;
        ASSERT_FALSE(inventory.remarks.empty()) << keys;
        EXPECT_EQ(inventory.remarks[0].substr(0, 5), "[odd]") << keys;
    }
    const auto unknown = parse_bench_inventory("[odd]\n" + usb + "serial=5\nnmae=x\n");
    EXPECT_EQ(unknown.cameras.size(), 1U);
    EXPECT_EQ(unknown.remarks, std::vector<std::string>{"[odd] key nmae is not known"});
    for (const char* text : {"[backend FIREWIRE]\n", "serial=1\ninterface=USB2\n"}) {
        EXPECT_TRUE(parse_bench_inventory(text).cameras.empty()) << text;
        EXPECT_FALSE(parse_bench_inventory(text).remarks.empty()) << text;
    }
    EXPECT_TRUE(parse_bench_inventory("\xFF\xFE[\n]=\n=\n[]\n").cameras.empty());
}

}  // namespace
