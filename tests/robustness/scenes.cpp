#include "scenes.h"

#include "region_view.h"

#include <fstream>

namespace robustness {
namespace {

void prepare_nothing(Cast& /*cast*/) {}

void add_member(Cast& cast) {
    cast.members.emplace_back("a first member");
    cast.members.back().wait_until_attached();
}

void prepare_dead(Cast& cast) {
    Member dying("a process that is to die");
    dying.wait_until_attached();
    cast.dead_and_counted = 1;
}

/// Nobody is counted any more once somebody has cleared it.
void prepare_stale(Cast& cast) {
    prepare_dead(cast);
    cast.dead_and_counted = 0;
    add_old_camera();
    age_heartbeat();
}

void prepare_slow(Cast& cast) {
    add_member(cast);
    cast.members.back().pause();
    cast.members.back().process.signal(SIGSTOP);
    cast.members.back().wait_until_stopped();
    add_old_camera();
    age_heartbeat();
}

void prepare_lost_rw(Cast& /*cast*/) {
    start_holder(&CNuv_shm_manager::sema_rw).kill_and_wait();
    age_heartbeat(tolerance.count() - 1);
}

/// The victim finds the holder of `sem_update` dead, and frees it.
void prepare_lost_update(Cast& cast) {
    add_member(cast);
    start_holder(&CNuv_shm_manager::sema_update).kill_and_wait();
    cast.dead_and_counted = 1;
}

void prepare_fragment(Cast& /*cast*/) {
    std::ofstream(region_file) << std::string(100, '\0');
}

}  // namespace

const std::vector<Scene>& all_scenes() {
    static const std::vector<Scene> scenes = {
        {"create", Phase::attach, prepare_nothing},
        {"complete a fragment", Phase::attach, prepare_fragment, "mmap done"},
        {"attach", Phase::attach, add_member},
        {"attach to a dead one's region", Phase::attach, prepare_dead},
        {"clear", Phase::attach, prepare_stale},
        {"clear under a slow member", Phase::attach, prepare_slow},
        {"attach without sem_rw", Phase::attach, prepare_lost_rw},
        {"heartbeat", Phase::heartbeat, add_member},
        {"take sem_update", Phase::update, add_member},
        {"free sem_update", Phase::update, prepare_lost_update},
        {"leave", Phase::leave, add_member},
        {"remove", Phase::leave, prepare_nothing},
    };
    return scenes;
}

}  // namespace robustness
