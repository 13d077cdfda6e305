#include "iftype_text.h"
#include "ownership_text.h"
#include "process_text.h"
#include "registry_status.h"
#include "time_text.h"

#include <nuv/registry_layout.h>

#include <cstdio>

namespace nuvctl {
namespace {

std::string heartbeat_text(const Registry_view& view) {
    const std::int64_t age = heartbeat_age(view);
    const std::string moment = time_text(view.bytes->time_stamp);
    if (age < 0) {
        return moment + ", in the future: stale";
    }
    return moment + ", " + std::to_string(age) +
           " s ago: " + (view.state == Registry_state::live ? "fresh" : "stale") + " (tolerance " +
           std::to_string(NUV_SHM_DIFFTIME) + " s)";
}

/// Who has the lock holds the semaphore or waits for a holder that has no lock.
std::string owner_text(const Registry_status& status) {
    switch (status.semaphores->lock) {
        case Lock_state::free:
            return ", by nobody that has its lock: the holder has died, or knows no such lock";
        case Lock_state::unknown:
            return "";
        case Lock_state::taken:
            break;
    }
    const Process* const owner = update_lock_owner(status);
    return owner ? ", its lock is with " + process_text(*owner)
                 : ", its lock is with a process that may not be examined";
}

Cell semaphore_cell(const Semaphore_look& look, const Semaphores& seen, const std::string& more) {
    switch (look.state) {
        case Semaphore_state::held_briefly:
            return {"held, but for less than " + seconds_text(seen.watched)};
        case Semaphore_state::held:
            return {"held at every look for " + seconds_text(seen.watched) + more, Color::yellow};
        case Semaphore_state::free:
            break;
    }
    const bool too_often = look.value > 1;
    return {too_often ? "free (posted too often: " + std::to_string(look.value) + ")" : "free"};
}

std::string rw_text(const Semaphores& seen) {
    return seen.rw_held_at_most ? ", taken after the heartbeat: at most " +
                                      std::to_string(*seen.rw_held_at_most) + " s ago"
                                : "";
}

std::string version_text(std::uint16_t version) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%04x", version);
    return text;
}

/// Why more may have it mapped than were seen; empty when nothing was kept from us.
std::string unseen_text(const Region_users& users) {
    std::string text;
    if (users.unexamined_sharing > 0) {
        text += "; " + std::to_string(users.unexamined_sharing) + " may not be examined";
    }
    if (users.some_hidden) {
        text += "; /proc hides some";
    }
    if (users.incomplete) {
        text += "; too few descriptors or too little memory to examine all";
    }
    return text;
}

/// How the count compares with what is mapped; one that died leaves its count behind.
Cell managers_cell(const Registry_status& status) {
    const int counted = status.view.bytes->opencount;
    const int mapped = managers_on(status.users, status.view);
    const std::string text = std::to_string(counted) + " attached";
    if (counted == mapped) {
        return {text + ", as many as processes have mapped"};
    }
    const std::string unseen = unseen_text(status.users);
    return {text + ", but processes have mapped " + std::to_string(mapped) + unseen,
            unseen.empty() ? Color::yellow : Color::none};
}

class Rows {
public:
    explicit Rows(Table& shown) : table(shown) { table.columns = {{""}, {""}}; }
    void add(const char* title, Cell cell) {
        table.rows.push_back({{title, Color::bold}, std::move(cell)});
    }

private:
    Table& table;
};

void add_users(Rows& rows, const NUV_Devlist_Shm& registry) {
    const char* title = "Users";
    for (int i = 0; i < NUV_IF_OPENCOUNT_SLOTS; ++i) {
        const NUV_If_opencount slot = registry.if_opencount[i];
        if (slot.InterfaceType != 0) {
            const std::string name =
                display_name(slot.InterfaceType)
                    .value_or("Interface type " + short_name(slot.InterfaceType));
            rows.add(title, {std::to_string(slot.opencount) + "  " + name});
            title = "";
        }
    }
}

std::string last_attached_text(pid_t id) {
    const auto process = find_process(id);
    return process ? process_text(*process) : std::to_string(id) + " gone";
}

void add_registry(Rows& rows, const Registry_status& status) {
    const Registry_view& view = status.view;
    const NUV_Devlist_Shm& registry = *view.bytes;
    const Semaphores& seen = *status.semaphores;
    const Entry_counts entries = count_entries(registry);
    rows.add("Version", {version_text(registry.struct_version)});
    rows.add("Managers", managers_cell(status));
    add_users(rows, registry);
    rows.add("Heartbeat", {heartbeat_text(view),
                           view.state == Registry_state::live ? Color::green : Color::red});
    rows.add("Entries",
             {std::to_string(entries.used) + " used, " + std::to_string(entries.free) + " free"});
    rows.add("Next id", {std::to_string(registry.id_counter)});
    rows.add(seen.rw.name, semaphore_cell(seen.rw, seen, rw_text(seen)));
    rows.add(seen.update.name, semaphore_cell(seen.update, seen, owner_text(status)));
    rows.add("Attached last", {last_attached_text(registry.processid)});
}

}  // namespace

Table status_table(const Registry_status& status) {
    Table table;
    Rows rows(table);
    if (!status.view.file) {
        return table;
    }
    const struct stat& file = *status.view.file;
    rows.add("Registry", {std::string(NUV_SHM_NAME) + ", " + std::to_string(file.st_size) +
                          " bytes, inode " + std::to_string(file.st_ino)});
    rows.add("Access", {ownership_text(file)});
    if (status.view.bytes) {
        add_registry(rows, status);
    }
    return table;
}

}  // namespace nuvctl
