#include "registry_follower.h"

#include <utility>

namespace nuvctl {
namespace {

std::vector<Camera> cameras_of(const Registry_view& view) {
    return view.bytes ? cameras_in(*view.bytes) : std::vector<Camera>();
}

bool is_same_file(const Registry_view& one, const Registry_view& other) {
    return one.file->st_dev == other.file->st_dev && one.file->st_ino == other.file->st_ino;
}

/// A clear starts the ids anew. If as many were handed out again before this look, it is known by
/// its cause: a newcomer, where the heartbeat had ceased for longer than the tolerance.
bool was_cleared(const NUV_Devlist_Shm& before, const NUV_Devlist_Shm& after) {
    const auto pause = static_cast<std::uint64_t>(after.time_stamp) -
                       static_cast<std::uint64_t>(before.time_stamp);
    return after.id_counter < before.id_counter ||
           (pause > NUV_SHM_DIFFTIME && after.processid != before.processid);
}

class Events {
public:
    void add(Registry_event event, std::string detail = "") {
        list.push_back({std::nullopt, event, std::move(detail)});
    }
    void add_changes(const std::vector<Camera>& before, const std::vector<Camera>& after) {
        for (const Change& change : changes_between(before, after)) {
            list.push_back({change, {}, change.detail});
        }
    }

    std::vector<Event> list;
};

std::string name_of(const Registry_view& view) {
    return "inode " + std::to_string(view.file->st_ino);
}

}  // namespace

Registry_follower::Registry_follower(Look how)
    : look_at(std::move(how)), last(look_at()), known(cameras_of(last)) {}

std::vector<Event> Registry_follower::look() {
    Registry_view now = look_at();
    std::vector<Camera> cameras = cameras_of(now);
    const bool had = last.bytes.has_value();
    const bool has = now.bytes.has_value();
    const bool goes = had && (!has || !is_same_file(last, now));
    const bool comes = has && (!had || goes);
    const bool cleared = had && has && !goes && was_cleared(*last.bytes, *now.bytes);

    Events events;
    if (goes || cleared) {
        events.add_changes(known, {});
        known.clear();
    }
    if (goes) {
        events.add(Registry_event::gone, has ? "another has taken its name" : now.problem);
    }
    if (comes) {
        events.add(Registry_event::back, name_of(now));
    }
    if (cleared) {
        events.add(Registry_event::cleared);
    }
    const bool was_stale = had && !goes && last.state == Registry_state::stale;
    if (has && (now.state == Registry_state::stale) != was_stale) {
        events.add(was_stale ? Registry_event::fresh : Registry_event::stale, now.problem);
    }
    events.add_changes(known, cameras);
    last = std::move(now);
    known = std::move(cameras);
    return std::move(events.list);
}

const char* word_of(const Event& event) {
    if (event.change) {
        return word_of(event.change->kind);
    }
    constexpr const char* words[] = {"cleared", "gone", "back", "stale", "fresh"};
    return words[static_cast<int>(event.registry)];
}

std::string event_text(const Event& event) {
    if (event.change) {
        return change_text(*event.change);
    }
    return std::string("registry ") + word_of(event) +
           (event.detail.empty() ? "" : ": " + event.detail);
}

}  // namespace nuvctl
