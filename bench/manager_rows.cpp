// What the device manager does with its six back-ends: starting, ending, scanning.
#include "fail.h"
#include "floor.h"
#include "inventory.h"
#include "registry_world.h"
#include "round.h"

#include <nuv/bits.h>
#include <nuv/device_manager.h>
#include <nuv/result.h>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <thread>

namespace nuv_bench {
namespace {

using namespace std::chrono_literals;

void documented_sleeps() {
    std::this_thread::sleep_for(50ms);   // between the registry and the back-ends
    std::this_thread::sleep_for(100ms);  // before the back-ends go
    for ([[maybe_unused]] const unsigned int backend : inventory_iftypes) {
        std::this_thread::sleep_for(20ms);
    }
}

constexpr double seconds_of_sleeps = 0.27;
constexpr double seconds_beside_sleeps = 0.005;

Comparison start_and_end() {
    const auto inventory = std::make_shared<Inventory>();
    return {repeated(1,
                     [inventory] {
                         CNuv_device_manager manager;
                         require(manager.Initialize() == NUV_NOERROR, "cannot start");
                     }),
            repeated(1, documented_sleeps)};
}

/// All six back-ends, one after the other, as a pass of the scan thread asks them.
void scan_all(CNuv_device_manager& manager) {
    for (const unsigned int iftype : inventory_iftypes) {
        require(manager.scan_interface(iftype) == NUV_NOERROR, "a back-end cannot scan");
    }
}

void read_whole(const std::string& path) {
    std::array<char, 32768> text;
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    require(read(fd, text.data(), text.size()) > 0, "cannot read the inventory");
    close(fd);
    benchmark::DoNotOptimize(text);
}

Comparison scan_pass() {
    const auto inventory = std::make_shared<Inventory>();
    const auto manager = std::make_shared<CNuv_device_manager>();
    manager->set_general_bits(NUV_BIT_SCAN_OFF);
    require(manager->Initialize() == NUV_NOERROR, "cannot start");
    std::this_thread::sleep_for(4s);  // a file that has just changed is read again each time
    scan_all(*manager);
    int cameras = 0;
    manager->shm_mgr->get_nuvdevice_count(1, cameras);
    require(cameras == inventory_cameras, "a scan has not found the cameras");
    const auto floor = std::make_shared<Floor>(*manager->shm_mgr->devlist_shm);
    constexpr int in_a_round = 10;
    return {repeated(in_a_round, [inventory, manager] { scan_all(*manager); }),
            repeated(in_a_round, [inventory, floor] {
                read_whole(inventory->file());
                for (int i = 0; i < inventory_cameras; ++i) {
                    NUV_Device found;
                    floor->look_up(last_id, found);
                    benchmark::DoNotOptimize(found);
                }
            })};
}

Row start_row() {
    Row row{"Initialize and destruction", "the documented sleeps",
            (seconds_of_sleeps + seconds_beside_sleeps) / seconds_of_sleeps, start_and_end};
    row.rounds = 11;
    return row;
}

}  // namespace

Rows manager_rows() {
    return {start_row(),
            {"scan pass, 128 cameras as before", "read inventory, 128 look-ups", 1.2, scan_pass}};
}

}  // namespace nuv_bench
