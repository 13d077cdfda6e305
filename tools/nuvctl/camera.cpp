#include "camera.h"

#include "iftype_text.h"
#include "process_text.h"

#include <string.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <nlohmann/json.hpp>

namespace nuvctl {
namespace {

bool holds_camera(const NUV_Device& entry) {
    return entry.id != 0 || entry.serialnumber != 0 || entry.status_bits != 0;
}

}  // namespace

std::vector<Camera> cameras_in(const NUV_Devlist_Shm& registry) {
    std::vector<Camera> cameras;
    for (int index = 0; index < NUV_DEVICE_COUNT; ++index) {
        const NUV_Device entry = registry.nuvdevice[index];
        if (holds_camera(entry)) {
            cameras.push_back({index, entry});
        }
    }
    std::stable_sort(cameras.begin(), cameras.end(),
                     [](const Camera& a, const Camera& b) { return a.entry.id < b.entry.id; });
    return cameras;
}

std::string camera_name(const NUV_Device& entry) {
    return std::string(entry.cameraname, strnlen(entry.cameraname, NUV_NAME_SIZE));
}

std::string interface_name(const NUV_Device& entry) {
    return std::string(entry.interfacename, strnlen(entry.interfacename, NUV_NAME_SIZE));
}

std::string state_word(std::uint32_t status_bits) {
    if (!(status_bits & NUV_STATUS_PRESENT)) {
        return "unplugged";
    }
    switch (status_bits & (NUV_STATUS_GRAB_OPEN | NUV_STATUS_COM_OPEN)) {
        case NUV_STATUS_GRAB_OPEN:
            return "grabber open";
        case NUV_STATUS_COM_OPEN:
            return "com open";
        case 0:
            return "present";
        default:
            return "open";
    }
}

std::vector<std::string> status_words(std::uint32_t status_bits) {
    std::vector<std::string> words;
    if (status_bits & NUV_STATUS_PRESENT) {
        words.emplace_back("present");
    }
    if (status_bits & NUV_STATUS_GRAB_OPEN) {
        words.emplace_back("grabber_open");
    }
    if (status_bits & NUV_STATUS_COM_OPEN) {
        words.emplace_back("com_open");
    }
    return words;
}

std::string extended_info_text(const NUV_Device& entry) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%" PRIx64, entry.extended_info);
    return text;
}

std::string backend_data_text(const NUV_Device& entry) {
    std::string text;
    for (const unsigned char byte : entry.backend_data) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

nlohmann::ordered_json camera_to_json(const Camera& camera) {
    const NUV_Device& entry = camera.entry;
    return {{"index", camera.index},
            {"id", +entry.id},
            {"iftype", iftype_to_json(entry.nuv_iftype)},
            {"serial_number", +entry.serialnumber},
            {"name", camera_name(entry)},
            {"interface_name", interface_name(entry)},
            {"state", state_word(entry.status_bits)},
            {"status_bits", +entry.status_bits},
            {"status", status_words(entry.status_bits)},
            {"holder", holder_to_json(nuvkit::holder_of(entry))},
            // A text: many readers of JSON keep numbers only up to 2^53.
            {"extended_info", extended_info_text(entry)},
            {"entry_mark", +entry.entry_mark},
            {"backend_data", backend_data_text(entry)},
            {"backend_word_a", +entry.backend_word_a},
            {"backend_word_b", +entry.backend_word_b}};
}

nlohmann::ordered_json cameras_to_json(const std::vector<Camera>& cameras) {
    nlohmann::ordered_json json = nlohmann::ordered_json::array();
    for (const Camera& camera : cameras) {
        json.push_back(camera_to_json(camera));
    }
    return json;
}

}  // namespace nuvctl
