#include "mends.h"

#include "mend_actions.h"
#include "suspects.h"

#include <algorithm>

namespace nuvctl {
namespace {

std::string harm_to_users(const std::vector<Region_user>& users, const Facts& facts,
                          const std::string& how) {
    if (!users.empty()) {
        return names_of(users) + " " + how;
    }
    return may_have_unseen_users(facts)
               ? "processes that may not be examined " + how + ", if they use it; root sees them"
               : "";
}

/// Whoever has the file open: one that is too short may be about to become a registry.
std::vector<Region_user> openers(const Facts& facts) {
    std::vector<Region_user> users;
    for (const Region_user& user : facts.status.users.users) {
        if (is_on(user, facts.view())) {
            users.push_back(user);
        }
    }
    return users;
}

void plan_for_unusable(const Facts& facts, std::vector<Mend>& mends) {
    const Registry_view& view = facts.view();
    if (is_no_file(view)) {
        if (S_ISDIR(view.file->st_mode)) {
            return;
        }
        mends.push_back({"remove what lies under the registry's name", "", remove_odd_file});
    } else if (view.state == Registry_state::too_short ||
               view.state == Registry_state::wrong_version) {
        mends.push_back({"remove the file that is no registry",
                         harm_to_users(openers(facts), facts, "would be cut off"),
                         replace_registry});
    } else if (view.state == Registry_state::stale) {
        mends.push_back({"clear the stale registry, and remove it unless somebody is attached",
                         harm_to_users(attached_users(facts), facts, "would lose the device list"),
                         replace_registry});
    }
}

void plan_for_semaphores(const Facts& facts, std::vector<Mend>& mends) {
    const Semaphores& semaphores = *facts.status.semaphores;
    if (is_held(semaphores.rw)) {
        mends.push_back({"wait until the managers free sem_rw, 15 s at most", "", await_sem_rw});
    }
    if (update_holder_is_lost(facts)) {
        mends.push_back({"free sem_update, whose holder has died", "", settle_semaphores});
    } else if (semaphores.update.value > 1 || semaphores.rw.value > 1) {
        mends.push_back({"take the surplus posts from the semaphores", "", settle_semaphores});
    }
}

void plan_for_contents(const Facts& facts, std::vector<Mend>& mends) {
    if (!cameras_of_the_dead(facts).empty()) {
        const bool unsure = !users_with_other_ids(facts).empty() || has_invisible_users(facts);
        mends.push_back({"free the cameras that dead processes hold",
                         unsure ? "a holder in another PID namespace may live" : "",
                         release_cameras_of_the_dead});
    }
    if (count_is_too_high(facts)) {
        mends.push_back({"count the managers anew", "", correct_count});
    }
}

/// Somebody lives in the registry, and keeps it.
void plan_for_living(const Facts& facts, std::vector<Mend>& mends) {
    if (facts.status.semaphores) {
        plan_for_semaphores(facts, mends);
    }
    plan_for_contents(facts, mends);
}

}  // namespace

std::vector<Mend> plan_mends(const Facts& facts) {
    std::vector<Mend> mends;
    if (const std::vector<Region_user> users = cut_off_users(facts); !users.empty()) {
        mends.push_back({"end the processes on a registry without a name",
                         names_of(users) + " would be ended",
                         [users] { return end_processes(users); }});
    }
    if (all_have_died(facts)) {
        mends.push_back({"remove the registry that nobody keeps", "", correct_count});
    } else if (facts.view().state == Registry_state::live) {
        plan_for_living(facts, mends);
    } else {
        plan_for_unusable(facts, mends);
    }
    return mends;
}

}  // namespace nuvctl
