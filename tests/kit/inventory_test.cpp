#include "bench_inventory.h"

#include <nuv/iftype.h>

#include <gtest/gtest.h>

namespace {

using nuvkit::Bench_inventory;
using nuvkit::parse_bench_inventory;

TEST(Inventory, CamerasHaveDefaultsForAllButInterfaceAndSerial) {
    const Bench_inventory inventory = parse_bench_inventory(
        "[left]\ninterface=usb3\nserial=0x10\n[right]\nINTERFACE=GIGE\n"
        "Serial=7\nname=My camera ; really\ninterface_name=eth0\n"
        "plugged=No\nopen_result=0x80000001\nopen_delay_ms=5\n"
        "close_result=2\nclose_delay_ms=600000\n");
    EXPECT_TRUE(inventory.remarks.empty());
    ASSERT_EQ(inventory.cameras.size(), 2U);
    const auto& left = inventory.cameras[0];
    EXPECT_EQ(left.iftype, NUV_IFTYPE_USB3);
    EXPECT_EQ(left.serialnumber, 16U);
    EXPECT_EQ(left.name, "left");
    EXPECT_EQ(left.interfacename, "");
    EXPECT_TRUE(left.plugged);
    EXPECT_EQ(left.open_result, 0U);
    const auto& right = inventory.cameras[1];
    EXPECT_EQ(right.iftype, NUV_IFTYPE_GIGE);
    EXPECT_EQ(right.name, "My camera ; really");
    EXPECT_EQ(right.interfacename, "eth0");
    EXPECT_FALSE(right.plugged);
    EXPECT_EQ(right.open_result, 0x80000001U);
    EXPECT_EQ(right.open_delay_ms, 5U);
    EXPECT_EQ(right.close_result, 2U);
    EXPECT_EQ(right.close_delay_ms, 600000U);
}

TEST(Inventory, BackendSectionsRehearseTrouble) {
    const Bench_inventory inventory = parse_bench_inventory(
        "[Backend clhs_siso]\ninitialize_result=1\ninitialize_delay_ms=2\nscan_result=3\n"
        "scan_delay_ms=4\n[backend FIREWIRE]\n");
    ASSERT_EQ(inventory.backends.size(), 1U);
    const auto& backend = inventory.backends.at(NUV_IFTYPE_CLHS_ME5);
    EXPECT_EQ(backend.initialize_result, 1U);
    EXPECT_EQ(backend.initialize_delay_ms, 2U);
    EXPECT_EQ(backend.scan_result, 3U);
    EXPECT_EQ(backend.scan_delay_ms, 4U);
    EXPECT_FALSE(inventory.remarks.empty());
    EXPECT_TRUE(inventory.cameras.empty());
}

TEST(Inventory, KeyTellsCamerasApartThatShareASerialNumber) {
    const auto key = [](const std::string& section, const std::string& serial,
                        const std::string& more = "") {
        const auto inventory = parse_bench_inventory(
            "[" + section + "]\ninterface=ME4\nserial=" + serial + "\n" + more);
        return inventory.cameras.at(0).key;
    };
    EXPECT_NE(key("a", "5"), key("b", "5"));
    EXPECT_NE(key("a", "5"), key("a", "6"));
    EXPECT_EQ(key("Cam", "5"), key("cam", "0x5", "name=other\nplugged=off\n"));
}

TEST(Inventory, SectionThatIsNotUnderstoodIsLeftOutAndNamed) {
    for (const char* body :
         {"serial=5", "interface=USB", "interface=USB3", "interface=USB3\nserial=0",
          "interface=USB3\nserial=", "interface=USB3\nserial=-1", "interface=USB3\nserial=5x",
          "interface=USB3\nserial=4294967296", "interface=USB3\nserial=99999999999999999999999",
          "interface=USB3\nserial=5\nplugged=perhaps", "interface=USB3\nserial=5\nopen_result=bad",
          "interface=USB3\nserial=5\nopen_delay_ms=600001", "interface=USB3\nserial=0x"}) {
        const Bench_inventory inventory = parse_bench_inventory(
            std::string("[odd]\n") + body + "\n[good]\ninterface=USB2\nserial=1\n");
        EXPECT_EQ(inventory.cameras.size(), 1U) << body;
        ASSERT_FALSE(inventory.remarks.empty()) << body;
        EXPECT_EQ(inventory.remarks[0].substr(0, 5), "[odd]") << body;
    }
    const auto unknown = parse_bench_inventory("[a]\ninterface=USB2\nserial=1\nnmae=x\n");
    EXPECT_EQ(unknown.cameras.size(), 1U);
    EXPECT_EQ(unknown.remarks, std::vector<std::string>{"[a] key nmae is not known"});
}

TEST(Inventory, AnyBytesAreText) {
    const std::string camera = "[a]\r\ninterface=USB2\r\nserial=1\r\n";
    EXPECT_EQ(parse_bench_inventory("\xEF\xBB\xBF" + camera).cameras.size(), 1U);
    EXPECT_EQ(parse_bench_inventory(camera + std::string("\0[b", 3)).cameras.size(), 1U);
    const auto outside = parse_bench_inventory("serial=1\ninterface=USB2\n");
    EXPECT_TRUE(outside.cameras.empty());
    EXPECT_EQ(outside.remarks.size(), 1U);
    EXPECT_TRUE(parse_bench_inventory("").cameras.empty());
    EXPECT_TRUE(parse_bench_inventory("\xFF\xFE[\n]=\n=\n[]\n").cameras.empty());
    const auto bytes = parse_bench_inventory("[a]\ninterface=USB2\nserial=1\nname=\xFF\x01\xC3\n");
    EXPECT_EQ(bytes.cameras.at(0).name, "\xFF\x01\xC3");
}

}  // namespace
