#include "backend_world.h"

#include <nuv/result.h>

#include <unistd.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

namespace {

using namespace kit_test;

using Scan = Backend_test;

TEST_F(Scan, EditedInventoryPlugsUnplugsAndRenames) {
    start(camera("left", 11) + camera("right", 12) + "[far]\ninterface=GIGE\nserial=3\n");
    ASSERT_EQ(listed().size(), 2U);
    const NUV_Device left = entry("left");
    EXPECT_EQ(+left.id, 1U);
    EXPECT_EQ(+left.serialnumber, 11U);
    EXPECT_EQ(+left.status_bits, NUV_STATUS_PRESENT);
    EXPECT_EQ(+left.entry_mark, NUV_ENTRY_MARK);
    EXPECT_STREQ(left.interfacename, "Interface USB3");

    const std::string longer(100, 'n');
    EXPECT_EQ(scan(camera("left", 11, "name=" + longer + "\ninterface_name=bus 1") +
                   camera("right", 12, "plugged=no") + camera("third", 11)),
              0U);
    const NUV_Device renamed = entry(longer.substr(0, 63));
    EXPECT_EQ(+renamed.id, +left.id);
    EXPECT_STREQ(renamed.interfacename, "bus 1");
    EXPECT_EQ(+entry("right").id, 0U);
    EXPECT_EQ(+entry("third").id, 3U) << "another camera with the first one's serial number";

    std::filesystem::remove(write_inventory(""));
    EXPECT_EQ(scan(), 0U);
    EXPECT_TRUE(listed().empty());
}

TEST_F(Scan, ForkedChildMayScanWhateverAThreadIsDoing) {
    start(camera("left", 11));
    std::atomic<bool> done{false};
    std::thread scanner([&] {
        while (!done) {
            scan();
        }
    });
    for (int round = 0; round < 30; ++round) {
        nuv_test::Process child([] {
            alarm(30);
            CNuv_interface_usb3 own(nullptr, 0);
            _exit(own.initialize() == 0 ? 0 : 1);
        });
        ASSERT_EQ(child.wait(), 0) << round;
    }
    done = true;
    scanner.join();
}

TEST_F(Scan, EditThatTheFilesTimeDoesNotShowIsSeen) {
    start(camera("old", 5));
    const std::string file = write_inventory(camera("old", 5));
    const auto time = std::filesystem::last_write_time(file);
    scan();
    std::ofstream(file) << camera("new", 5);
    std::filesystem::last_write_time(file, time);
    scan();
    EXPECT_EQ(+entry("new").serialnumber, 5U);
}

TEST_F(Scan, ClearedRegistryIsFilledAgainWithWhatIsOpen) {
    start(camera("a", 5) + camera("b", 6));
    CNuv_com* com = nullptr;
    ASSERT_EQ(usb3->open_com_device(6, &com), 0U);
    std::memset(&observer.devlist_shm->nuvdevice, 0, sizeof(observer.devlist_shm->nuvdevice));
    EXPECT_EQ(scan(), 0U);
    EXPECT_EQ(+entry("a").id, 3U);
    EXPECT_EQ(+entry("b").status_bits, NUV_STATUS_PRESENT | NUV_STATUS_COM_OPEN);
}

TEST_F(Scan, FullListKeepsWhatItHasAndTakesTheRestWhenThereIsRoom) {
    std::string many;
    for (unsigned int i = 1; i <= 130; ++i) {
        many += camera("cam" + std::to_string(i), i);
    }
    start(many);
    EXPECT_EQ(listed().size(), 128U);
    EXPECT_EQ(scan(), NUV_ERROR_NOMEMORY);
    EXPECT_TRUE(record.contains("2 cameras are not in it"));
    EXPECT_EQ(+observer.devlist_shm->id_counter, 129U) << "no id is spent in vain";
    EXPECT_EQ(scan(many.substr(camera("cam1", 1).size())), NUV_ERROR_NOMEMORY);
    EXPECT_EQ(+entry("cam129").id, 129U);
    EXPECT_EQ(+entry("cam130").id, 0U);
}

TEST_F(Scan, RehearsedAndRealFailuresLeaveTheListAsItWas) {
    start(camera("a", 5) + "[odd]\nserial=x\n");
    EXPECT_TRUE(record.contains("[odd] interface is missing"));
    record.clear();
    EXPECT_EQ(scan(), 0U);
    EXPECT_FALSE(record.contains("[odd]")) << "said once for each change of the file";
    std::vector<NUV_Device> found(1);
    EXPECT_EQ(scan("[backend USB3]\nscan_result=0x80001234\ninitialize_result=7\n"), 0x80001234U);
    EXPECT_EQ(usb3->find_devices(found), 0x80001234U);
    EXPECT_EQ(CNuv_interface_usb3(nullptr, 0).initialize(), 7U);
    EXPECT_EQ(users(), 1U);

    const std::string file = write_inventory("");
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    EXPECT_EQ(scan(), NUV_ERROR_INI_LOAD);
    EXPECT_EQ(listed().size(), 1U);
    std::filesystem::remove(file);

    write_inventory(camera("new", 9));
    EXPECT_EQ(usb3->find_devices(found), 0U);
    EXPECT_EQ(+found.at(1).serialnumber, 9U);
    EXPECT_EQ(+entry("new").id, 0U) << "looking touches no registry";
}

}  // namespace
