// Looking up with the region cold in memory, as whoever looks up now and then finds it.
#include "fail.h"
#include "floor.h"
#include "registry/semaphore_guard.h"
#include "registry_world.h"
#include "round.h"

#include <benchmark/benchmark.h>
#include <sys/mman.h>

#include <utility>

namespace nuv_bench {
namespace {

/// Drives everything out of the caches by reading more than they hold.
class Cold {
public:
    Cold() : bytes(std::size_t{96} << 20, 1) {}
    void chill() {
        constexpr std::size_t line = 64;
        long sum = 0;
        for (std::size_t i = 0; i < bytes.size(); i += line) {
            sum += bytes[i];
        }
        benchmark::DoNotOptimize(sum);
    }

private:
    std::vector<char> bytes;
};

/// Stands before a manager's guard of `sem_rw` and takes the time from the wait's end to the post.
class Hold_clock : public nuv::Semaphore_guard {
public:
    explicit Hold_clock(CNuv_shm_manager& of_manager)
        : Semaphore_guard(Sees::every_wait), manager(of_manager), usual(manager.sema_rw->guard) {
        manager.sema_rw->guard = this;
    }
    ~Hold_clock() override { manager.sema_rw->guard = usual; }

    int wait(sem_t* semaphore, nuv::Waiting&) override {
        const int result = sem_wait(semaphore);
        start = std::chrono::steady_clock::now();
        return result;
    }
    void posted() override { held = seconds_since(start); }
    double seconds_held() const { return held; }

private:
    CNuv_shm_manager& manager;
    Semaphore_guard* const usual;
    std::chrono::steady_clock::time_point start;
    double held = 0;
};

void look_last_up(CNuv_shm_manager& manager) {
    NUV_Device found;
    manager.get_nuvdevice_from_id(last_id, found);
    benchmark::DoNotOptimize(found);
}

void look_last_up(Floor& floor) {
    NUV_Device found;
    floor.look_up(last_id, found);
    benchmark::DoNotOptimize(found);
}

/// A registry of which only the table is cold: the code has just run on another one.
template <class Registry>
class Cold_table {
public:
    Cold_table(std::shared_ptr<Registry> of_table, std::shared_ptr<Registry> of_other)
        : table(std::move(of_table)), other(std::move(of_other)) {}

    double look_up() {
        cold->chill();
        look_last_up(*other);
        const auto start = std::chrono::steady_clock::now();
        look_last_up(*table);
        return seconds_since(start);
    }

    const std::shared_ptr<Registry> table;

private:
    const std::shared_ptr<Registry> other;
    const std::shared_ptr<Cold> cold = std::make_shared<Cold>();
};

using Cold_registry = Cold_table<CNuv_shm_manager>;
using Cold_floor = Cold_table<Floor>;

/// A region keeps its users when its name goes, and the next one is another.
std::shared_ptr<Cold_registry> cold_registry() {
    std::shared_ptr<CNuv_shm_manager> nameless = manager_of_full_registry();
    shm_unlink(NUV_SHM_NAME);
    return std::make_shared<Cold_registry>(std::move(nameless), manager_of_full_registry());
}

std::shared_ptr<Cold_floor> cold_floor(const CNuv_shm_manager& original) {
    return std::make_shared<Cold_floor>(std::make_shared<Floor>(*original.devlist_shm),
                                        std::make_shared<Floor>(*original.devlist_shm));
}

Comparison whole() {
    const auto registry = cold_registry();
    const auto floor = cold_floor(*registry->table);
    return {[registry] { return registry->look_up(); }, [floor] { return floor->look_up(); }};
}

Comparison time_held() {
    const auto registry = cold_registry();
    const auto floor = cold_floor(*registry->table);
    const auto clock = std::make_shared<Hold_clock>(*registry->table);
    return {[registry, clock] {
                registry->look_up();
                return clock->seconds_held();
            },
            [floor] { return floor->look_up(); }};
}

Row cold_row(const char* operation, double goal, Comparison (*prepare)()) {
    Row row{operation, "cold semaphore, scan, copy", goal, prepare};
    row.rounds = 151;
    return row;
}

}  // namespace

Rows cold_rows() {
    return {cold_row("look-up, region cold", 1.2, whole),
            cold_row("semaphore held, region cold", 0.4, time_held)};
}

}  // namespace nuv_bench
