#include "suspects.h"

#include "joined.h"
#include "ownership_text.h"
#include "process_text.h"

#include <nuvkit/holder.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

namespace nuvctl {
namespace {

std::string kill_command(const Facts& facts, const char* kill,
                         const std::vector<Region_user>& users) {
    std::string command = kill;
    bool takes_root = false;
    for (const Region_user& user : users) {
        command += " " + std::to_string(user.process.id);
        takes_root = takes_root || user.process.user != facts.user;
    }
    return takes_root ? as_root(facts, command) : command;
}

}  // namespace

std::string as_root(const Facts& facts, const std::string& command) {
    return facts.is_root() ? command : "sudo " + command;
}

std::vector<Region_user> attached_users(const Facts& facts) {
    std::vector<Region_user> users;
    for (const Region_user& user : facts.status.users.users) {
        if (is_on(user, facts.view()) && user.managers > 0) {
            users.push_back(user);
        }
    }
    return users;
}

std::vector<Region_user> cut_off_users(const Facts& facts) {
    std::vector<Region_user> users;
    for (const Region_user& user : facts.status.users.users) {
        if (user.managers > 0 && is_cut_off(user, facts.view())) {
            users.push_back(user);
        }
    }
    return users;
}

bool has_invisible_users(const Facts& facts) {
    const std::vector<Region_user> users = attached_users(facts);
    return facts.somebody_is_present &&
           std::none_of(users.begin(), users.end(),
                        [](const Region_user& user) { return user.presence_locks > 0; });
}

bool may_have_unseen_users(const Facts& facts) {
    const Region_users& users = facts.status.users;
    const bool somebody_is_hidden =
        !facts.is_root() && (users.unexamined_sharing > 0 || users.some_hidden);
    return somebody_is_hidden || users.incomplete || has_invisible_users(facts);
}

std::vector<Region_user> users_with_other_ids(const Facts& facts) {
    std::vector<Region_user> users = attached_users(facts);
    const auto has_our_ids = [](const Region_user& user) {
        const std::vector<std::string>& others = user.other_namespaces;
        return std::find(others.begin(), others.end(), "pid") == others.end();
    };
    users.erase(std::remove_if(users.begin(), users.end(), has_our_ids), users.end());
    return users;
}

std::vector<std::vector<Region_user>> other_registries(const Facts& facts) {
    std::map<std::pair<dev_t, ino_t>, std::vector<Region_user>> found;
    for (const Region_user& user : facts.status.users.users) {
        if (user.elsewhere && user.managers > 0) {
            found[{user.device, user.inode}].push_back(user);
        }
    }
    std::vector<std::vector<Region_user>> registries;
    registries.reserve(found.size());
    for (auto& [file, users] : found) {
        registries.push_back(std::move(users));
    }
    return registries;
}

bool count_is_too_high(const Facts& facts) {
    return facts.region() != nullptr && !may_have_unseen_users(facts) &&
           facts.region()->opencount > managers_on(facts.status.users, facts.view());
}

bool all_have_died(const Facts& facts) {
    return facts.view().state == Registry_state::live && !may_have_unseen_users(facts) &&
           attached_users(facts).empty();
}

bool seems_abandoned(const Facts& facts) {
    return facts.view().state == Registry_state::live && !facts.somebody_is_present &&
           attached_users(facts).empty();
}

bool is_held_by_the_dead(const NUV_Device& entry) {
    const nuvkit::Holder holder = nuvkit::holder_of(entry);
    return (entry.status_bits & (NUV_STATUS_GRAB_OPEN | NUV_STATUS_COM_OPEN)) != 0 &&
           holder.process_id != 0 && !nuvkit::is_alive(holder);
}

std::vector<Camera> cameras_of_the_dead(const Facts& facts) {
    std::vector<Camera> cameras;
    for (const Camera& camera : facts.region() ? cameras_in(*facts.region()) : cameras) {
        if (is_held_by_the_dead(camera.entry)) {
            cameras.push_back(camera);
        }
    }
    return cameras;
}

bool update_holder_is_lost(const Facts& facts) {
    const std::optional<Semaphores>& semaphores = facts.status.semaphores;
    const std::vector<Region_user> users = attached_users(facts);
    const bool all_know_the_lock =
        !may_have_unseen_users(facts) &&
        std::all_of(users.begin(), users.end(), [](const Region_user& user) {
            return user.presence_locks >= std::max(user.descriptors, user.managers);
        });
    return semaphores && is_held(semaphores->update) && semaphores->lock == Lock_state::free &&
           all_know_the_lock;
}

std::vector<Region_user> stopped_of(const std::vector<Region_user>& users) {
    std::vector<Region_user> stopped;
    std::copy_if(users.begin(), users.end(), std::back_inserter(stopped),
                 [](const Region_user& user) { return user.process.stopped; });
    return stopped;
}

std::vector<std::string> ending(const Facts& facts, const std::vector<Region_user>& users) {
    std::vector<std::string> commands{kill_command(facts, "kill", users)};
    if (const std::vector<Region_user> stopped = stopped_of(users); !stopped.empty()) {
        commands.push_back(continuing(facts, stopped));
    }
    return commands;
}

std::string continuing(const Facts& facts, const std::vector<Region_user>& users) {
    return kill_command(facts, "kill -CONT", users);
}

std::string names_of(const std::vector<Region_user>& users) {
    std::vector<std::string> names;
    names.reserve(users.size());
    for (const Region_user& user : users) {
        names.push_back(process_text(user.process) + " (" + user_name(user.process.user) +
                        (user.process.stopped ? ", stopped)" : ")"));
    }
    return joined(names, ", ");
}

}  // namespace nuvctl
