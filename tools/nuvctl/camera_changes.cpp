#include "camera_changes.h"

#include "iftype_text.h"
#include "process_text.h"
#include "safe_text.h"

#include <algorithm>

namespace nuvctl {
namespace {

constexpr std::uint32_t open_bits = NUV_STATUS_GRAB_OPEN | NUV_STATUS_COM_OPEN;

const Camera* find(const std::vector<Camera>& cameras, const Camera& wanted) {
    const auto found =
        std::find_if(cameras.begin(), cameras.end(), [&wanted](const Camera& camera) {
            return camera.entry.id == wanted.entry.id && camera.index == wanted.index;
        });
    return found == cameras.end() ? nullptr : &*found;
}

bool is_present(const Camera* camera) {
    return camera != nullptr && (camera->entry.status_bits & NUV_STATUS_PRESENT) != 0;
}

std::string devices(std::uint32_t bits) {
    switch (bits & open_bits) {
        case NUV_STATUS_GRAB_OPEN:
            return "grabber";
        case NUV_STATUS_COM_OPEN:
            return "communication";
        default:
            return "grabber and communication";
    }
}

void add_open_changes(std::vector<Change>& changes, const NUV_Device& before, const Camera& after) {
    std::uint32_t were_open = before.status_bits & open_bits;
    std::uint32_t are_open = after.entry.status_bits & open_bits;
    // In other hands than before: closed and opened again between the two looks.
    const bool same_hands = nuvkit::holder_of(before) == nuvkit::holder_of(after.entry);
    const bool changed_hands = were_open && are_open && !same_hands;
    const std::uint32_t kept = changed_hands ? 0 : were_open & are_open;
    were_open &= ~kept;
    are_open &= ~kept;
    if (were_open) {
        changes.push_back(
            {Change_kind::closed, after,
             devices(were_open) + ", was held by " + holder_text(nuvkit::holder_of(before))});
    }
    if (are_open) {
        changes.push_back(
            {Change_kind::opened, after,
             devices(are_open) + ", by " + holder_text(nuvkit::holder_of(after.entry))});
    }
}

void add_changes(std::vector<Change>& changes, const Camera* before, const Camera& after) {
    if (!is_present(before) && is_present(&after)) {
        changes.push_back({Change_kind::appeared, after, description(after.entry)});
    } else if (is_present(before) && !is_present(&after)) {
        changes.push_back({Change_kind::gone, after, description(after.entry)});
    } else if (before != nullptr && description(before->entry) != description(after.entry)) {
        changes.push_back({Change_kind::renamed, after, description(after.entry)});
    }
    add_open_changes(changes, before != nullptr ? before->entry : NUV_Device{}, after);
}

}  // namespace

std::vector<Change> changes_between(const std::vector<Camera>& before,
                                    const std::vector<Camera>& after) {
    std::vector<Change> changes;
    for (const Camera& camera : before) {
        if (is_present(&camera) && find(after, camera) == nullptr) {
            changes.push_back({Change_kind::gone, camera, description(camera.entry)});
        }
    }
    for (const Camera& camera : after) {
        add_changes(changes, find(before, camera), camera);
    }
    return changes;
}

const char* word_of(Change_kind kind) {
    switch (kind) {
        case Change_kind::gone:
            return "gone";
        case Change_kind::appeared:
            return "appeared";
        case Change_kind::renamed:
            return "renamed";
        case Change_kind::closed:
            return "closed";
        case Change_kind::opened:
            break;
    }
    return "opened";
}

std::string change_text(const Change& change) {
    return "camera " + std::to_string(change.camera.entry.id) + " " + word_of(change.kind) + ": " +
           change.detail;
}

std::string description(const NUV_Device& entry) {
    std::string text = short_name(entry.nuv_iftype) + ", serial number " +
                       std::to_string(entry.serialnumber) + ", \"" + safe_text(camera_name(entry)) +
                       "\"";
    const std::string interface = interface_name(entry);
    return interface.empty() ? text : text + " on \"" + safe_text(interface) + "\"";
}

}  // namespace nuvctl
