#include "bench_inventory.h"

#include <nuv/iftype.h>

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <sstream>

namespace {

using nuvkit::Bench_inventory;
using nuvkit::parse_bench_inventory;
using Numbers = std::vector<std::uint32_t>;

TEST(Inventory, EachKeyIsReadAndHasADefault) {
    const Bench_inventory inventory = parse_bench_inventory(
        "\xEF\xBB\xBF[left]\ninterface=usb3\r\nserial=0x10\n"
        "[right]\nINTERFACE=GIGE\nSerial=7\nname=My \xFF\x01 ; really\ninterface_name=eth0\n"
        "plugged=No\nopen_result=0x80000001\nopen_delay_ms=5\n"
        "close_result=2\nclose_delay_ms=600000\n"
        "[Backend clhs_siso]\ninitialize_result=1\ninitialize_delay_ms=2\nscan_result=3\n"
        "scan_delay_ms=4\n");
    EXPECT_TRUE(inventory.remarks.empty());
    ASSERT_EQ(inventory.cameras.size(), 2U);
    const auto& left = inventory.cameras[0];
    const auto& right = inventory.cameras[1];
    const auto& backend = inventory.backends.at(NUV_IFTYPE_CLHS_ME5);
    const auto numbers = [](const nuvkit::Bench_camera& camera) {
        return Numbers{camera.iftype,        camera.serialnumber,  camera.plugged,
                       camera.open_result,   camera.open_delay_ms, camera.close_result,
                       camera.close_delay_ms};
    };
    EXPECT_EQ(numbers(left), (Numbers{NUV_IFTYPE_USB3, 16, 1, 0, 0, 0, 0}));
    EXPECT_EQ(left.name, "left");
    EXPECT_EQ(left.interfacename, "");
    EXPECT_EQ(numbers(right), (Numbers{NUV_IFTYPE_GIGE, 7, 0, 0x80000001, 5, 2, 600000}));
    EXPECT_EQ(right.name, "My \xFF\x01 ; really");
    EXPECT_EQ(right.interfacename, "eth0");
    EXPECT_EQ((Numbers{backend.initialize_result, backend.initialize_delay_ms, backend.scan_result,
                       backend.scan_delay_ms}),
              (Numbers{1, 2, 3, 4}));
}

TEST(Inventory, InstalledExampleIsUnderstoodWithAllThatItOffers) {
    std::ostringstream example;
    example << std::ifstream(EXAMPLE_CAMERAS_PATH).rdbuf();
    const std::string whole = std::regex_replace(example.str(), std::regex("\n;(?=[^ ])"), "\n");
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
    const std::string camera = "[odd]\ninterface=USB3\nserial=5\n";
    for (const std::string& text : {
             std::string("[odd]\nserial=5"),
             std::string("[odd]\ninterface=USB\nserial=5"),
             std::string("[odd]\ninterface=USB3\n"),
             camera + "serial=0",
             camera + "serial=",
             camera + "serial=-1",
             camera + "serial=5x",
             camera + "serial=0x",
             camera + "serial=4294967296",
             camera + "serial=99999999999999999999999",
             camera + "plugged=perhaps",
             camera + "open_result=bad",
             camera + "open_delay_ms=600001",
         }) {
        const auto inventory = parse_bench_inventory(text + "\n[good]\ninterface=USB2\nserial=1\n");
        EXPECT_EQ(inventory.cameras.size(), 1U) << text;
        ASSERT_FALSE(inventory.remarks.empty()) << text;
        EXPECT_EQ(inventory.remarks[0].substr(0, 5), "[odd]") << text;
    }
    const auto unknown = parse_bench_inventory(camera + "nmae=x\n");
    EXPECT_EQ(unknown.cameras.size(), 1U);
    EXPECT_EQ(unknown.remarks, std::vector<std::string>{"[odd] key nmae is not known"});
    for (const char* text : {"[backend FIREWIRE]\n", "serial=1\ninterface=USB2\n"}) {
        EXPECT_TRUE(parse_bench_inventory(text).cameras.empty()) << text;
        EXPECT_FALSE(parse_bench_inventory(text).remarks.empty()) << text;
    }
    EXPECT_TRUE(parse_bench_inventory("\xFF\xFE[\n]=\n=\n[]\n").cameras.empty());
}

}  // namespace
