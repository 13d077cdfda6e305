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

Comparison beside_floor(unsigned int id, unsigned int expected) {
    const std::shared_ptr<CNuv_shm_manager> manager = manager_of_full_registry();
    const auto floor = std::make_shared<Floor>(*manager->devlist_shm);
    NUV_Device out;
    require(manager->get_nuvdevice_from_id(id, out) == expected, "a look-up answers wrongly");
    require(floor->look_up(last_id, out) && out.id == last_id, "the yardstick answers wrongly");
    return {repeated(in_a_round,
                     [manager, id] {
                         NUV_Device found;
                         manager->get_nuvdevice_from_id(id, found);
                         benchmark::DoNotOptimize(found);
                     }),
            repeated(in_a_round, [floor] {
                NUV_Device found;
                floor->look_up(last_id, found);
                benchmark::DoNotOptimize(found);
            })};
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
