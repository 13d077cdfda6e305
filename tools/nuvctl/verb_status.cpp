#include "file_text.h"
#include "iftype_text.h"
#include "process_text.h"
#include "reading_options.h"
#include "registry_report.h"
#include "safe_text.h"
#include "semaphore_look.h"
#include "table.h"
#include "verb.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

namespace nuvctl {
namespace {

struct Entry_counts {
    int used = 0;
    int free = 0;
};

Entry_counts count_entries(const NUV_Devlist_Shm& registry) {
    Entry_counts counts;
    for (int i = 0; i < NUV_DEVICE_COUNT; ++i) {
        const NUV_Device entry = registry.nuvdevice[i];
        counts.used += entry.status_bits != 0;
        counts.free += entry.id == 0 && entry.serialnumber == 0;
    }
    return counts;
}

nlohmann::ordered_json file_to_json(const struct stat& file) {
    return {{"name", NUV_SHM_NAME},
            {"size", file.st_size},
            {"inode", file.st_ino},
            {"owner", {{"id", file.st_uid}, {"name", user_name(file.st_uid)}}},
            {"group", {{"id", file.st_gid}, {"name", group_name(file.st_gid)}}},
            {"mode", mode_text(file.st_mode)}};
}

nlohmann::ordered_json users_to_json(const NUV_Devlist_Shm& registry) {
    nlohmann::ordered_json users = nlohmann::ordered_json::array();
    for (int i = 0; i < NUV_IF_OPENCOUNT_SLOTS; ++i) {
        const NUV_If_opencount slot = registry.if_opencount[i];
        if (slot.InterfaceType != 0) {
            users.push_back(
                {{"iftype", iftype_to_json(slot.InterfaceType)}, {"count", +slot.opencount}});
        }
    }
    return users;
}

const char* state_name(Semaphore_state state) {
    switch (state) {
        case Semaphore_state::free:
            return "free";
        case Semaphore_state::held_briefly:
            return "held_briefly";
        case Semaphore_state::held:
            break;
    }
    return "held";
}

nlohmann::ordered_json semaphores_to_json(const std::vector<Semaphore_look>& looks) {
    nlohmann::ordered_json semaphores = nlohmann::ordered_json::object();
    for (const Semaphore_look& look : looks) {
        semaphores[look.name] = {{"value", look.value}, {"state", state_name(look.state)}};
    }
    return semaphores;
}

nlohmann::ordered_json status_to_json(const Registry_view& view) {
    nlohmann::ordered_json answer = json_answer(view);
    if (view.file) {
        answer["region"] = file_to_json(*view.file);
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
                           {"tolerance_seconds", staleness_tolerance},
                           {"verdict", fresh ? "fresh" : "stale"}};
    answer["entries"] = {
        {"total", NUV_DEVICE_COUNT}, {"used", entries.used}, {"free", entries.free}};
    answer["next_id"] = +registry.id_counter;
    answer["semaphores"] = semaphores_to_json(look_at_semaphores(view));
    answer["last_attached"] = {{"pid", +registry.processid},
                               {"command", command_of(registry.processid)}};
    return answer;
}

std::string heartbeat_text(const Registry_view& view) {
    const std::int64_t age = heartbeat_age(view);
    const std::string moment = time_text(view.bytes->time_stamp);
    if (age < 0) {
        return moment + ", in the future: stale";
    }
    return moment + ", " + std::to_string(age) +
           " s ago: " + (view.state == Registry_state::live ? "fresh" : "stale") + " (tolerance " +
           std::to_string(staleness_tolerance) + " s)";
}

std::string semaphore_text(const Semaphore_look& look) {
    switch (look.state) {
        case Semaphore_state::held_briefly:
            return look.name + " held for less than 0.2 s";
        case Semaphore_state::held:
            return look.name + " held (at two looks 0.2 s apart)";
        case Semaphore_state::free:
            break;
    }
    const bool too_often = look.value > 1;
    return look.name + " free" +
           (too_often ? " (posted too often: " + std::to_string(look.value) + ")" : "");
}

std::string semaphores_text(const Registry_view& view) {
    std::string text;
    for (const Semaphore_look& look : look_at_semaphores(view)) {
        text += (text.empty() ? "" : ", ") + semaphore_text(look);
    }
    return text;
}

std::string version_text(std::uint16_t version) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%04x", version);
    return text;
}

void add_users(std::vector<std::vector<Cell>>& rows, const NUV_Devlist_Shm& registry) {
    const char* title = "Users";
    for (int i = 0; i < NUV_IF_OPENCOUNT_SLOTS; ++i) {
        const NUV_If_opencount slot = registry.if_opencount[i];
        if (slot.InterfaceType != 0) {
            const std::string name =
                display_name(slot.InterfaceType)
                    .value_or("Interface type " + short_name(slot.InterfaceType));
            rows.push_back({{title, Color::bold}, {std::to_string(slot.opencount) + "  " + name}});
            title = "";
        }
    }
}

void add_registry(std::vector<std::vector<Cell>>& rows, const Registry_view& view) {
    const NUV_Devlist_Shm& registry = *view.bytes;
    const Entry_counts entries = count_entries(registry);
    const Color heartbeat = view.state == Registry_state::live ? Color::green : Color::red;
    rows.push_back({{"Version", Color::bold}, {version_text(registry.struct_version)}});
    rows.push_back({{"Managers", Color::bold}, {std::to_string(registry.opencount) + " attached"}});
    add_users(rows, registry);
    rows.push_back({{"Heartbeat", Color::bold}, {heartbeat_text(view), heartbeat}});
    rows.push_back(
        {{"Entries", Color::bold},
         {std::to_string(entries.used) + " used, " + std::to_string(entries.free) + " free"}});
    rows.push_back({{"Next id", Color::bold}, {std::to_string(registry.id_counter)}});
    rows.push_back({{"Semaphores", Color::bold}, {semaphores_text(view)}});
    rows.push_back(
        {{"Attached last", Color::bold},
         {std::to_string(registry.processid) + " " + safe_text(command_of(registry.processid))}});
}

void print_status(const Registry_view& view, const Reading_options& options) {
    if (!view.file) {
        return;
    }
    const struct stat& file = *view.file;
    Table table;
    table.columns = {{""}, {""}};
    table.rows.push_back({{"Registry", Color::bold},
                          {std::string(NUV_SHM_NAME) + ", " + std::to_string(file.st_size) +
                           " bytes, inode " + std::to_string(file.st_ino)}});
    table.rows.push_back({{"Access", Color::bold},
                          {"owner " + user_name(file.st_uid) + ", group " +
                           group_name(file.st_gid) + ", mode " + mode_text(file.st_mode)}});
    if (view.bytes) {
        add_registry(table.rows, view);
    }
    table.print(false, wants_color(options), 0);
}

Exit status(const Reading_options& options) {
    const Registry_view view = look_at_registry();
    report_problem(view);
    if (options.json) {
        print_json(status_to_json(view));
    } else {
        print_status(view, options);
    }
    return exit_code_for(view.state);
}

}  // namespace

Action declare_status(CLI::App& arguments) {
    auto options = std::make_shared<Reading_options>();
    add_reading_options(arguments, *options);
    arguments.footer(
        "Exit codes: 0 when the registry is live, 7 when it is absent or stale, 5 when it may not\n"
        "be read, 1 when it is too short or of another version.\n"
        "Example:\n"
        "  nuvctl status --json | jq .heartbeat.verdict");
    return [options] { return status(*options); };
}

}  // namespace nuvctl
