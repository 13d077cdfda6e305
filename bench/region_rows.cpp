// Filling, listing and counting the devices, and the heartbeat, beside the same done by hand.
#include "fail.h"
#include "floor.h"
#include "registry_world.h"
#include "round.h"

#include <nuv/iftype.h>

#include <benchmark/benchmark.h>
#include <sys/time.h>

#include <cstring>

namespace nuv_bench {
namespace {

struct World {
    std::shared_ptr<CNuv_shm_manager> manager = manager_of_full_registry();
    std::shared_ptr<Floor> floor = std::make_shared<Floor>(*manager->devlist_shm);
};

std::vector<NUV_Device> all_devices() {
    std::vector<NUV_Device> devices;
    for (unsigned int id = 1; id <= last_id; ++id) {
        devices.push_back(device(id, NUV_IFTYPE_USB3));
    }
    return devices;
}

/// A round that fills an empty list; emptying it is not timed.
template <class Store>
Round filling(NUV_Devlist_Shm& region, Store store) {
    return [&region, store, devices = all_devices()] {
        std::memset(region.nuvdevice, 0, sizeof region.nuvdevice);
        const auto start = std::chrono::steady_clock::now();
        for (const NUV_Device& device : devices) {
            store(device);
        }
        const double seconds = seconds_since(start);
        require(region.nuvdevice[NUV_DEVICE_COUNT - 1].id == last_id, "the list was not filled");
        return seconds / NUV_DEVICE_COUNT;
    };
}

Comparison registration() {
    const World world;
    return {filling(*world.manager->devlist_shm,
                    [manager = world.manager](const NUV_Device& device) {
                        manager->set_nuvdevice_to_free_listentry(device);
                    }),
            filling(world.floor->region(),
                    [floor = world.floor](const NUV_Device& device) { floor->store(device); })};
}

/// To be moved on: a copy would have no room.
std::vector<NUV_Device> list_with_room() {
    std::vector<NUV_Device> list;
    list.reserve(NUV_DEVICE_COUNT);
    return list;
}

Comparison list_of_type() {
    const World world;
    constexpr int in_a_round = 200;
    return {repeated(in_a_round,
                     [manager = world.manager, list = list_with_room()]() mutable {
                         list.clear();
                         manager->get_devlist_if(NUV_IFTYPE_USB3, list);
                         benchmark::DoNotOptimize(list.data());
                         benchmark::ClobberMemory();
                     }),
            repeated(in_a_round, [floor = world.floor, list = list_with_room()]() mutable {
                list.clear();
                floor->list(NUV_IFTYPE_USB3, list);
                benchmark::DoNotOptimize(list.data());
                benchmark::ClobberMemory();
            })};
}

Comparison heartbeat() {
    const World world;
    constexpr int in_a_round = 2000;
    return {repeated(in_a_round, [manager = world.manager] { manager->update_time_stamp(); }),
            repeated(in_a_round, [floor = world.floor] { floor->refresh_time_stamp(); })};
}

Comparison counting() {
    const World world;
    constexpr int in_a_round = 2000;
    constexpr int in_use = 1;
    int count = 0;
    world.manager->get_nuvdevice_count(in_use, count);
    require(count == NUV_DEVICE_COUNT && world.floor->count_in_use() == count,
            "the devices are counted wrongly");
    return {repeated(in_a_round,
                     [manager = world.manager] {
                         int counted = 0;
                         manager->get_nuvdevice_count(in_use, counted);
                         benchmark::DoNotOptimize(counted);
                     }),
            repeated(in_a_round, [floor = world.floor] {
                int counted = floor->count_in_use();
                benchmark::DoNotOptimize(counted);
            })};
}

}  // namespace

Rows region_rows() {
    return {
        {"register 128 devices, each", "semaphore, scan, write", 1.4, registration},
        {"list of a type, 128 devices", "semaphore, scan, copy to reserved", 1.2, list_of_type},
        {"heartbeat", "semaphore, clock, store", 1.3, heartbeat},
        {"counting", "semaphore, scan", 1.3, counting},
    };
}

}  // namespace nuv_bench
