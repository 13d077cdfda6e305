#include "backend_world.h"
#include "support/private_world.h"

#include <nuv/result.h>

#include <cstring>
#include <filesystem>
#include <fstream>

namespace {

using namespace kit_test;

class Scan : public Backend_test {};

TEST_F(Scan, EditedInventoryPlugsUnplugsAndRenames) {
    write_inventory(camera("left", 11) + camera("right", 12) + "[far]\ninterface=GIGE\nserial=3\n");
    const auto usb3 = backend();
    ASSERT_EQ(usb3->initialize(), 0U);
    ASSERT_EQ(listed().size(), 2U);
    const NUV_Device left = entry("left");
    EXPECT_EQ(+left.id, 1U);
    EXPECT_EQ(+left.serialnumber, 11U);
    EXPECT_EQ(+left.status_bits, NUV_STATUS_PRESENT);
    EXPECT_EQ(+left.entry_mark, NUV_ENTRY_MARK);
    EXPECT_STREQ(left.interfacename, "Interface USB3");

    const std::string longer(100, 'n');
    write_inventory(camera("left", 11, "name=" + longer + "\ninterface_name=bus 1") +
                    camera("right", 12, "plugged=no") + camera("third", 13));
    EXPECT_EQ(usb3->update_devices_in_shmlist(), 0U);
    const NUV_Device renamed = entry(longer.substr(0, 63));
    EXPECT_EQ(+renamed.id, +left.id);
    EXPECT_STREQ(renamed.interfacename, "bus 1");
    EXPECT_EQ(+entry("right").id, 0U);
    EXPECT_EQ(+entry("third").id, 3U);

    std::filesystem::remove(nuv_test::config_folder() + "/nuv_cameras.ini");
    EXPECT_EQ(usb3->update_devices_in_shmlist(), 0U);
    EXPECT_TRUE(listed().empty());
}

TEST_F(Scan, EditThatTheFilesTimeDoesNotShowIsSeen) {
    write_inventory(camera("old", 5));
    const auto usb3 = backend();
    usb3->initialize();
    const std::string file = nuv_test::config_folder() + "/nuv_cameras.ini";
    const auto time = std::filesystem::last_write_time(file);
    std::ofstream(file) << camera("new", 5);
    std::filesystem::last_write_time(file, time);
    usb3->update_devices_in_shmlist();
    EXPECT_EQ(+entry("new").serialnumber, 5U);
}

TEST_F(Scan, CamerasWithOneSerialNumberBothStayListed) {
    write_inventory(camera("a", 5) + camera("b", 5));
    const auto usb3 = backend();
    usb3->initialize();
    usb3->update_devices_in_shmlist();
    ASSERT_EQ(listed().size(), 2U);
    EXPECT_NE(+entry("a").id, +entry("b").id);
    write_inventory(camera("b", 5));
    usb3->update_devices_in_shmlist();
    EXPECT_EQ(+entry("b").id, 2U);
    EXPECT_EQ(listed().size(), 1U);
}

TEST_F(Scan, BackendsOfOneTypeShareEntriesAndTheLastDeletesThem) {
    write_inventory(camera("a", 5));
    auto first = backend();
    first->initialize();
    const auto id = entry("a").id;
    Other_process other;
    EXPECT_EQ(other.does("scan"), "0");
    EXPECT_EQ(listed().size(), 1U);
    EXPECT_EQ(users(), 2U);
    first.reset();
    EXPECT_EQ(+entry("a").id, +id);
    other.ends();
    EXPECT_EQ(users(), 0U);
    EXPECT_TRUE(listed().empty());
}

TEST_F(Scan, ClearedRegistryIsFilledAgainWithWhatIsOpen) {
    write_inventory(camera("a", 5) + camera("b", 6));
    const auto usb3 = backend();
    usb3->initialize();
    CNuv_com* com = nullptr;
    ASSERT_EQ(usb3->open_com_device(6, &com), 0U);
    std::memset(&observer.devlist_shm->nuvdevice, 0, sizeof(observer.devlist_shm->nuvdevice));
    std::memset(&observer.devlist_shm->if_opencount, 0, sizeof(observer.devlist_shm->if_opencount));
    EXPECT_EQ(usb3->update_devices_in_shmlist(), 0U);
    EXPECT_EQ(+entry("a").id, 3U);
    EXPECT_EQ(+entry("b").status_bits, NUV_STATUS_PRESENT | NUV_STATUS_COM_OPEN);
    EXPECT_EQ(Other_process().does("com 6"), "80004001");
    EXPECT_EQ(usb3->close_com_device(com), 0U);
}

TEST_F(Scan, FullListKeepsWhatItHasAndTakesTheRestWhenThereIsRoom) {
    std::string many;
    for (unsigned int i = 1; i <= 130; ++i) {
        many += camera("cam" + std::to_string(i), i);
    }
    write_inventory(many);
    const auto usb3 = backend();
    EXPECT_EQ(usb3->initialize(), 0U);
    EXPECT_EQ(listed().size(), 128U);
    EXPECT_EQ(usb3->update_devices_in_shmlist(), NUV_ERROR_NOMEMORY);
    EXPECT_TRUE(record.contains("2 cameras are not in it"));
    EXPECT_EQ(+observer.devlist_shm->id_counter, 129U) << "no id is spent in vain";
    write_inventory(many.substr(camera("cam1", 1).size()));
    EXPECT_EQ(usb3->update_devices_in_shmlist(), NUV_ERROR_NOMEMORY);
    EXPECT_EQ(+entry("cam129").id, 129U);
    EXPECT_EQ(+entry("cam130").id, 0U);
}

TEST_F(Scan, RehearsedAndRealFailuresLeaveTheListAsItWas) {
    write_inventory(camera("a", 5) + "[odd]\nserial=x\n");
    const auto usb3 = backend();
    ASSERT_EQ(usb3->initialize(), 0U);
    EXPECT_TRUE(record.contains("[odd] interface is missing"));
    record.clear();
    EXPECT_EQ(usb3->update_devices_in_shmlist(), 0U);
    EXPECT_FALSE(record.contains("[odd]")) << "said once for each change of the file";

    write_inventory("[backend USB3]\nscan_result=0x80001234\n");
    EXPECT_EQ(usb3->update_devices_in_shmlist(), 0x80001234U);
    std::vector<NUV_Device> found(1);
    EXPECT_EQ(usb3->find_devices(found), 0x80001234U);
    const std::string file = nuv_test::config_folder() + "/nuv_cameras.ini";
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    EXPECT_EQ(usb3->update_devices_in_shmlist(), NUV_ERROR_INI_LOAD);
    EXPECT_EQ(listed().size(), 1U);
    std::filesystem::remove(file);

    write_inventory(camera("new", 9));
    EXPECT_EQ(usb3->find_devices(found), 0U);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(+found[1].serialnumber, 9U);
    EXPECT_EQ(+entry("new").id, 0U) << "looking touches no registry";

    write_inventory("[backend USB3]\ninitialize_result=7\n");
    EXPECT_EQ(backend()->initialize(), 7U);
    EXPECT_EQ(users(), 1U);
}

}  // namespace
