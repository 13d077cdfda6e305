// Looking a device up by its id, beside the semaphore's floor.
#include "fail.h"
#include "floor.h"
#include "registry_world.h"
#include "round.h"

#include <nuv/result.h>

#include <benchmark/benchmark.h>

namespace nuv_bench {
namespace {

constexpr int in_a_round = 2000;

Round in_registry(std::shared_ptr<CNuv_shm_manager> manager, unsigned int id) {
    return repeated(in_a_round, [manager = std::move(manager), id] {
        NUV_Device found;
        manager->get_nuvdevice_from_id(id, found);
        benchmark::DoNotOptimize(found);
    });
}

Round in_floor(std::shared_ptr<Floor> floor) {
    return repeated(in_a_round, [floor = std::move(floor)] {
        NUV_Device found;
        floor->look_up(last_id, found);
        benchmark::DoNotOptimize(found);
    });
}

Comparison beside_floor(unsigned int id, unsigned int expected) {
    const std::shared_ptr<CNuv_shm_manager> first = manager_of_full_registry();
    NUV_Device out;
    require(first->get_nuvdevice_from_id(id, out) == expected, "a look-up answers wrongly");
    std::vector<Round> registries{in_registry(first, id)};
    std::vector<Round> floors;
    for (int place = 0; place < places; ++place) {
        registries.push_back(in_registry(attached_manager(), id));
        const auto floor = std::make_shared<Floor>(*first->devlist_shm);
        require(floor->look_up(last_id, out) && out.id == last_id, "the yardstick answers wrongly");
        floors.push_back(in_floor(floor));
    }
    return {in_turn(std::move(registries)), in_turn(std::move(floors))};
}

}  // namespace

Rows lookup_rows() {
    const char* const floor = "semaphore, scan, copy";
    return {
        {"look-up, last entry", floor, 1.3, [] { return beside_floor(last_id, NUV_NOERROR); }},
        {"look-up, not there", floor, 1.25,
         [] { return beside_floor(absent_id, NUV_ERROR_NOT_FOUND); }},
        {"look-up, first entry", floor, 0.65, [] { return beside_floor(1, NUV_NOERROR); }},
        {"look-up, entry 32", floor, 0, [] { return beside_floor(32, NUV_NOERROR); }},
        {"look-up, entry 64", floor, 0, [] { return beside_floor(64, NUV_NOERROR); }},
    };
}

}  // namespace nuv_bench
