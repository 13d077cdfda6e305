// What happens to the registry and its cameras between one look and the next.
#pragma once

#include "camera_changes.h"
#include "registry_view.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace nuvctl {

enum class Registry_event { cleared, gone, back, stale, fresh };

/// Either something about a camera, or something about the registry as a whole.
struct Event {
    std::optional<Change> change;
    Registry_event registry = Registry_event::cleared;  ///< when it is no change of a camera
    std::string detail;                                 ///< in words, safe to print; may be empty
};

/// "appeared", "cleared" and so on.
const char* word_of(const Event& event);
/// One line without its end.
std::string event_text(const Event& event);

/// Follows a registry. When it goes or is cleared, its cameras are gone first.
class Registry_follower {
public:
    using Look = std::function<Registry_view()>;

    /// Takes what it sees first for known: nothing of it is an event. By default it looks for the
    /// registry by name, and so follows also one that is removed and created anew.
    explicit Registry_follower(Look how = [] { return look_at_registry(); });

    /// What has happened since the last look.
    std::vector<Event> look();

    const Registry_view& view() const { return last; }
    const std::vector<Camera>& cameras() const { return known; }

private:
    Look look_at;
    Registry_view last;
    std::vector<Camera> known;
};

}  // namespace nuvctl
