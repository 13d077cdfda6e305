#include "iftype_text.h"
#include "ownership_text.h"
#include "process_text.h"
#include "registry_report.h"
#include "registry_status.h"

#include <nuv/registry_layout.h>

#include <nlohmann/json.hpp>

namespace nuvctl {
namespace {

using nlohmann::ordered_json;

ordered_json file_to_json(const struct stat& file) {
    return {{"name", NUV_SHM_NAME},
            {"size", file.st_size},
            {"inode", file.st_ino},
            {"owner", {{"id", file.st_uid}, {"name", user_name(file.st_uid)}}},
            {"group", {{"id", file.st_gid}, {"name", group_name(file.st_gid)}}},
            {"mode", mode_text(file.st_mode)}};
}

ordered_json users_to_json(const NUV_Devlist_Shm& registry) {
    ordered_json users = ordered_json::array();
    for (int i = 0; i < NUV_IF_OPENCOUNT_SLOTS; ++i) {
        const NUV_If_opencount slot = registry.if_opencount[i];
        if (slot.InterfaceType != 0) {
            users.push_back(
                {{"iftype", iftype_to_json(slot.InterfaceType)}, {"count", +slot.opencount}});
        }
    }
    return users;
}

ordered_json semaphore_to_json(const Semaphore_look& look, const Semaphores& semaphores) {
    const char* state = look.state == Semaphore_state::free           ? "free"
                        : look.state == Semaphore_state::held_briefly ? "held_briefly"
                                                                      : "held";
    return {{"value", look.value},
            {"state", state},
            {"watched_seconds", static_cast<double>(semaphores.watched.count()) / 1000}};
}

ordered_json semaphores_to_json(const Registry_status& status) {
    const Semaphores& seen = *status.semaphores;
    ordered_json json = {{"sem_rw", semaphore_to_json(seen.rw, seen)},
                         {"sem_update", semaphore_to_json(seen.update, seen)}};
    json["sem_rw"]["held_at_most_seconds"] =
        seen.rw_held_at_most ? ordered_json(*seen.rw_held_at_most) : ordered_json(nullptr);
    json["sem_update"]["lock"] = seen.lock == Lock_state::free    ? "free"
                                 : seen.lock == Lock_state::taken ? "taken"
                                                                  : "unknown";
    const Process* const owner = update_lock_owner(status);
    json["sem_update"]["lock_owner"] = owner ? process_to_json(*owner) : ordered_json(nullptr);
    return json;
}

ordered_json mapped_to_json(const Registry_status& status) {
    int processes = 0;
    for (const Region_user& user : status.users.users) {
        processes += user.managers > 0 && is_on(user, status.view);
    }
    return {{"managers", managers_on(status.users, status.view)},
            {"processes", processes},
            {"unexamined", status.users.unexamined},
            {"unexamined_sharing_memory", status.users.unexamined_sharing},
            {"more_are_hidden", status.users.some_hidden},
            {"incomplete", status.users.incomplete}};
}

ordered_json last_attached_to_json(pid_t id) {
    const auto process = find_process(id);
    return {{"pid", id},
            {"command", process ? ordered_json(process->command) : ordered_json(nullptr)}};
}

}  // namespace

ordered_json status_to_json(const Registry_status& status) {
    const Registry_view& view = status.view;
    ordered_json answer = json_answer(view);
    if (view.file) {
        answer["region"] = file_to_json(*view.file);
        answer["mapped"] = mapped_to_json(status);
    }
    if (!view.bytes) {
        return answer;
    }
    const NUV_Devlist_Shm& registry = *view.bytes;
    const Entry_counts entries = count_entries(registry);
    const bool fresh = view.state == Registry_state::live;
    answer["version"] = +registry.struct_version;
    answer["managers"] = +registry.opencount;
    answer["users"] = users_to_json(registry);
    answer["heartbeat"] = {{"time_stamp", +registry.time_stamp},
                           {"age_seconds", heartbeat_age(view)},
                           {"tolerance_seconds", NUV_SHM_DIFFTIME},
                           {"verdict", fresh ? "fresh" : "stale"}};
    answer["entries"] = {
        {"total", NUV_DEVICE_COUNT}, {"used", entries.used}, {"free", entries.free}};
    answer["next_id"] = +registry.id_counter;
    answer["semaphores"] = semaphores_to_json(status);
    answer["last_attached"] = last_attached_to_json(registry.processid);
    return answer;
}

}  // namespace nuvctl
