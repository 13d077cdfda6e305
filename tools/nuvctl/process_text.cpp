#include "process_text.h"

#include "ownership_text.h"
#include "safe_text.h"
#include "time_text.h"

#include <nlohmann/json.hpp>

namespace nuvctl {
namespace {

std::optional<Process> living(const nuvkit::Holder& holder) {
    return nuvkit::is_alive(holder) ? find_process(holder.process_id) : std::nullopt;
}

}  // namespace

std::string process_text(const Process& process) {
    return std::to_string(process.id) + " " + safe_text(process.command);
}

nlohmann::ordered_json process_to_json(const Process& process) {
    return {{"pid", process.id},
            {"start_ticks", process.start_ticks},
            {"alive", true},
            {"command", process.command},
            {"user", {{"id", process.user}, {"name", user_name(process.user)}}},
            {"started", process.started}};
}

std::string holder_text(const nuvkit::Holder& holder) {
    if (holder.process_id == 0) {
        return "-";
    }
    const std::string number = std::to_string(holder.process_id);
    if (!nuvkit::is_alive(holder)) {
        return number + " gone";
    }
    const auto process = find_process(holder.process_id);
    return process ? process_text(*process) : number + " (hidden)";
}

std::string holder_details(const nuvkit::Holder& holder) {
    const auto process = living(holder);
    return holder_text(holder) + (process ? " (" + user_name(process->user) + ", since " +
                                                short_time_text(process->started) + ")"
                                          : "");
}

nlohmann::ordered_json holder_to_json(const nuvkit::Holder& holder) {
    if (holder.process_id == 0) {
        return nullptr;
    }
    if (const auto process = living(holder)) {
        return process_to_json(*process);
    }
    return {{"pid", holder.process_id},
            {"start_ticks", holder.start_ticks},
            {"alive", nuvkit::is_alive(holder)},
            {"command", nullptr},
            {"user", nullptr},
            {"started", nullptr}};
}

}  // namespace nuvctl
