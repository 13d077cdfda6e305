#include "scenes.h"

#include "region_view.h"

#include <csignal>

namespace robustness {
namespace {

void add_member(Cast& cast) {
    cast.members.emplace_back();
    cast.members.back().wait_until_attached(attach_bound + machine_slack, "a first member");
}

/// A region that a killed process has left.
void leave_dead_region(Plan plan = {}) {
    Member dying(std::move(plan));
    dying.process.wait_until_stopped_or_ended(milliseconds(20));
    if (dying.process.look() != Process::State::ended) {
        dying.wait_until_attached(attach_bound, "a process that is to die");
        dying.process.kill();
    }
}

/// A region whose `sem_rw` a killed process holds.
void lose_sem_rw(Cast& cast) {
    add_member(cast);
    const Process holder([] {
        const auto manager = make_manager();
        manager->Initialize();
        manager->sema_rw->wait();
        raise(SIGKILL);
        return 0;
    });
    if (!wait_for(machine_slack, [] { return sem_rw_value() == 0; })) {
        fail("the holder of sem_rw does not die with it");
    }
    cast.dead_and_counted = 1;
}

void prepare_nothing(Cast& /*cast*/) {}

void prepare_dead(Cast& cast) {
    leave_dead_region();
    cast.dead_and_counted = 1;
}

/// Nobody is counted any more once somebody has cleared it.
void prepare_stale(Cast& /*cast*/) {
    leave_dead_region();
    add_old_camera();
    make_stale();
}

void prepare_slow(Cast& cast) {
    add_member(cast);
    cast.members.back().pause("a slow member");
    cast.members.back().process.signal(SIGSTOP);
    cast.members.back().process.wait_until_stopped_or_ended(machine_slack);
    add_old_camera();
    make_stale();
}

void prepare_lost_rw(Cast& cast) {
    Cast gone;
    lose_sem_rw(gone);
    gone.members.back().process.kill();
    age_heartbeat(tolerance.count() - 1);
    (void)cast;
}

/// The victim finds the holder of `sem_update` dead, and frees it.
void prepare_lost_update(Cast& cast) {
    add_member(cast);
    const Process holder([] {
        const auto manager = make_manager();
        manager->Initialize();
        manager->sema_update->wait();
        raise(SIGKILL);
        return 0;
    });
    if (!wait_for(machine_slack, [] { return sem_update_value() == 0; })) {
        fail("the holder of sem_update does not die with it");
    }
    cast.dead_and_counted = 1;
}

void prepare_fragment(Cast& /*cast*/) {
    write_region_file(std::string(100, '\0'));
}

}  // namespace

const std::vector<Scene>& all_scenes() {
    using Phase = Plan::Phase;
    static const std::vector<Scene> scenes = {
        {"create", Phase::attach, prepare_nothing, ""},
        {"complete a fragment", Phase::attach, prepare_fragment, "mmap done"},
        {"attach", Phase::attach, add_member, ""},
        {"attach to a dead one's region", Phase::attach, prepare_dead, ""},
        {"clear", Phase::attach, prepare_stale, ""},
        {"clear under a slow member", Phase::attach, prepare_slow, ""},
        {"attach without sem_rw", Phase::attach, prepare_lost_rw, ""},
        {"heartbeat", Phase::heartbeat, add_member, ""},
        {"take sem_update", Phase::update, add_member, ""},
        {"free sem_update", Phase::update, prepare_lost_update, "", milliseconds(2500)},
        {"leave", Phase::leave, add_member, ""},
        {"remove", Phase::leave, prepare_nothing, ""},
    };
    return scenes;
}

}  // namespace robustness
