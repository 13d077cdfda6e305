// The same look-up by other means that processes have of sharing a table.
#include "peers.h"
#include "registry_world.h"
#include "round.h"

#include <benchmark/benchmark.h>

namespace nuv_bench {
namespace {

constexpr int in_a_round = 1000;

/// Those that have a name of their own in the file system.
constexpr int one_place = 1;

template <class Peer>
Round in_peer(CNuv_shm_manager& manager) {
    const auto peer = std::make_shared<Peer>();
    for (unsigned int id = 1; id <= last_id; ++id) {
        NUV_Device entry;
        manager.get_nuvdevice_from_id(id, entry);
        peer->store(entry);
    }
    peer->ready();
    NUV_Device last;
    require(peer->look_up(last_id, last) && last.id == last_id, "a peer answers wrongly");
    return repeated(in_a_round, [peer] {
        NUV_Device found;
        peer->look_up(last_id, found);
        benchmark::DoNotOptimize(found);
    });
}

template <class Peer, int peer_places>
Comparison beside() {
    const std::shared_ptr<CNuv_shm_manager> manager = manager_of_full_registry();
    std::vector<Round> peers;
    for (int place = 0; place < peer_places; ++place) {
        peers.push_back(in_peer<Peer>(*manager));
    }
    std::vector<Round> registries;
    for (int place = 0; place < places; ++place) {
        registries.push_back(
            repeated(in_a_round, [at_place = std::shared_ptr(attached_manager()), manager] {
                NUV_Device found;
                at_place->get_nuvdevice_from_id(last_id, found);
                benchmark::DoNotOptimize(found);
            }));
    }
    return {in_turn(std::move(registries)), in_turn(std::move(peers))};
}

}  // namespace

Rows peer_rows() {
    const char* const operation = "look-up, last entry";
    return {
        {operation, "robust mutex, scan, copy", 1.0, beside<Mutex_table, places>},
        {operation, "Boost.Interprocess map", 0.7, beside<Shared_map, one_place>},
        {operation, "LMDB get", 0.55, beside<Lmdb_table, one_place>},
        {operation, "SQLite prepared select", 1.0 / 70, beside<Sqlite_table, one_place>},
    };
}

}  // namespace nuv_bench
