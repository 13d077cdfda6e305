#include "process_text.h"

#include "safe_text.h"

#include <fstream>
#include <nlohmann/json.hpp>

namespace nuvctl {

std::string command_of(std::int32_t process_id) {
    std::ifstream file("/proc/" + std::to_string(process_id) + "/comm");
    std::string command;
    // The kernel ends it with a line feed, but a command may contain some itself.
    std::getline(file, command, '\0');
    if (!command.empty() && command.back() == '\n') {
        command.pop_back();
    }
    return command;
}

std::string holder_text(const nuvkit::Holder& holder) {
    if (holder.process_id == 0) {
        return "-";
    }
    const std::string number = std::to_string(holder.process_id);
    if (!nuvkit::is_alive(holder)) {
        return number + " gone";
    }
    return number + " " + safe_text(command_of(holder.process_id));
}

nlohmann::ordered_json holder_to_json(const nuvkit::Holder& holder) {
    if (holder.process_id == 0) {
        return nullptr;
    }
    const bool alive = nuvkit::is_alive(holder);
    nlohmann::ordered_json json = {{"pid", holder.process_id},
                                   {"start_ticks", holder.start_ticks},
                                   {"alive", alive},
                                   {"command", nullptr}};
    if (alive) {
        json["command"] = command_of(holder.process_id);
    }
    return json;
}

}  // namespace nuvctl
