#include "camera.h"
#include "joined.h"
#include "json_output.h"
#include "ownership_text.h"
#include "process_text.h"
#include "reading_options.h"
#include "region_users.h"
#include "registry_report.h"
#include "safe_text.h"
#include "table.h"
#include "terminal.h"
#include "time_text.h"
#include "verb.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

namespace nuvctl {
namespace {

/// A process that has a region open, or that holds a camera, or both.
struct Person {
    nuvkit::Holder identity;
    std::optional<Process> process;   ///< nothing when it is gone, or hidden
    std::optional<Region_user> user;  ///< nothing when it only holds a camera
    std::vector<unsigned int> cameras;
};

Person person_of(const nuvkit::Holder& holder) {
    Person person;
    person.identity = holder;
    if (nuvkit::is_alive(holder)) {
        person.process = find_process(holder.process_id);
    }
    return person;
}

Person person_of(const Region_user& user) {
    Person person;
    person.identity = {user.process.id, static_cast<std::uint32_t>(user.process.start_ticks)};
    person.process = user.process;
    person.user = user;
    return person;
}

enum class Place { current, removed, replaced, elsewhere, unknown };

Place place_of(const Region_user& user, const Registry_view& view) {
    if (is_on(user, view)) {
        return Place::current;
    }
    if (user.elsewhere) {
        return Place::elsewhere;
    }
    if (!is_cut_off(user, view)) {
        return Place::unknown;
    }
    return user.deleted ? Place::removed : Place::replaced;
}

std::vector<Person> people_of(const Registry_view& view, const Region_users& found) {
    std::vector<Person> people;
    for (const Region_user& user : found.users) {
        people.push_back(person_of(user));
    }
    std::stable_sort(people.begin(), people.end(), [&](const Person& a, const Person& b) {
        return place_of(*a.user, view) < place_of(*b.user, view);
    });
    for (const Camera& camera : view.bytes ? cameras_in(*view.bytes) : std::vector<Camera>()) {
        const nuvkit::Holder holder = nuvkit::holder_of(camera.entry);
        if (holder.process_id == 0) {
            continue;
        }
        auto person = std::find_if(people.begin(), people.end(), [&](const Person& one) {
            return one.identity == holder && (!one.user || is_on(*one.user, view));
        });
        if (person == people.end()) {
            person = people.insert(people.end(), person_of(holder));
        }
        person->cameras.push_back(camera.entry.id);
    }
    return people;
}

const char* region_word(const Region_user& user, const Registry_view& view) {
    constexpr const char* words[] = {"current", "removed", "replaced", "elsewhere", "unknown"};
    return words[static_cast<int>(place_of(user, view))];
}

std::string cameras_text(const Person& person) {
    std::vector<std::string> ids;
    for (const unsigned int id : person.cameras) {
        ids.push_back(std::to_string(id));
    }
    return ids.empty() ? "-" : joined(ids, ",");
}

std::vector<Cell> row_of(const Person& person, const Registry_view& view) {
    const bool alive = nuvkit::is_alive(person.identity);
    const Cell unknown{alive ? "hidden" : "gone", Color::red};
    const std::string region = person.user ? region_word(*person.user, view) : "-";
    return {{std::to_string(person.identity.process_id)},
            {person.process ? user_name(person.process->user) : "-"},
            person.process ? Cell{safe_text(person.process->command)} : unknown,
            {person.process ? time_text(person.process->started) : "-"},
            {person.user ? std::to_string(person.user->managers) : "-"},
            {region, region == "current" || region == "-" ? Color::none : Color::red},
            {cameras_text(person)}};
}

void print_table(const std::vector<Person>& people, const Registry_view& view,
                 const Reading_options& options) {
    if (people.empty()) {
        return;
    }
    Table table;
    table.columns = {{"PID", true},      {"USER", false, 8}, {"COMMAND", false, 8}, {"STARTED"},
                     {"MANAGERS", true}, {"REGION"},         {"CAMERAS", false, 8}};
    for (const Person& person : people) {
        table.rows.push_back(row_of(person, view));
    }
    table.print(!options.no_headings, wants_color(options), table_width());
}

void report_unexamined(const Region_users& found) {
    if (found.unexamined_sharing > 0) {
        std::cerr << "nuvctl: " << found.unexamined_sharing
                  << " of the processes that share memory may not be examined by this user: they "
                     "may be attached too\n";
    }
    if (found.incomplete) {
        std::cerr << "nuvctl: short of descriptors or memory: not every process was examined\n";
    }
    if (found.some_hidden) {
        std::cerr << "nuvctl: /proc hides processes from this user\n";
    }
}

nlohmann::ordered_json person_to_json(const Person& person, const Registry_view& view) {
    nlohmann::ordered_json json = holder_to_json(person.identity);
    json["cameras"] = person.cameras;
    json["region"] = nullptr;
    if (person.user) {
        const Region_user& user = *person.user;
        json["region"] = {{"state", region_word(user, view)},
                          {"device", user.device},
                          {"inode", user.inode},
                          {"managers", user.managers},
                          {"descriptors", user.descriptors},
                          {"presence_locks", user.presence_locks},
                          {"update_lock", user.has_update_lock},
                          {"other_namespaces", user.other_namespaces}};
    }
    return json;
}

void print_json_answer(const std::vector<Person>& people, const Registry_view& view,
                       const Region_users& found) {
    nlohmann::ordered_json answer = json_answer(view);
    answer["processes"] = nlohmann::ordered_json::array();
    for (const Person& person : people) {
        answer["processes"].push_back(person_to_json(person, view));
    }
    answer["unexamined"] = {{"processes", found.unexamined},
                            {"sharing_memory", found.unexamined_sharing},
                            {"more_are_hidden", found.some_hidden},
                            {"incomplete", found.incomplete}};
    print_json(answer);
}

Exit who(const Reading_options& options) {
    const Registry_view view = look_at_registry();
    report_problem(view);
    const Region_users found = find_region_users();
    const std::vector<Person> people = people_of(view, found);
    if (options.json) {
        print_json_answer(people, view, found);
    } else {
        report_unexamined(found);
        print_table(people, view, options);
    }
    return exit_code_for(view.state);
}

}  // namespace

Action declare_who(CLI::App& arguments) {
    auto options = std::make_shared<Reading_options>();
    add_reading_options(arguments, *options);
    arguments.footer(
        "MANAGERS counts the process's attached registry managers, one for the program and one "
        "for\n"
        "each interface; 0: it only looks. REGION is \"removed\" when the region's name is gone,\n"
        "\"elsewhere\" when it lies in another /dev/shm, as in a container: such a process shares\n"
        "nothing with those on the current one. CAMERAS are the ids that it holds open; STARTED "
        "is\n"
        "the process's start: when a camera was opened is recorded nowhere.\n"
        "Where there is no registry, those that still use a removed one are listed, with exit code "
        "7.\n"
        "Examples:\n"
        "  nuvctl who                   root sees the processes of all users\n"
        "  nuvctl who --json | jq '.processes[] | select(.alive | not) | .cameras'");
    return [options] { return who(*options); };
}

}  // namespace nuvctl
