#include "camera_table.h"

#include "iftype_text.h"
#include "process_text.h"
#include "safe_text.h"

namespace nuvctl {
namespace {

Color color_of(std::uint32_t status_bits) {
    if (!(status_bits & NUV_STATUS_PRESENT)) {
        return Color::red;
    }
    const bool open = status_bits & (NUV_STATUS_GRAB_OPEN | NUV_STATUS_COM_OPEN);
    return open ? Color::yellow : Color::green;
}

Cell name_cell(const std::string& name) {
    return {name.empty() ? "-" : safe_text(name)};
}

std::vector<Cell> row_of(const Camera& camera) {
    const NUV_Device& entry = camera.entry;
    return {{std::to_string(entry.id)},
            {short_name(entry.nuv_iftype)},
            {std::to_string(entry.serialnumber)},
            name_cell(camera_name(entry)),
            name_cell(interface_name(entry)),
            {state_word(entry.status_bits), color_of(entry.status_bits)},
            {holder_details(nuvkit::holder_of(entry))}};
}

}  // namespace

Table camera_table(const std::vector<Camera>& cameras) {
    Table table;
    table.columns = {{"ID", true},
                     {"IF"},
                     {"SERIAL", true},
                     {"NAME", false, 8},
                     {"INTERFACE NAME", false, 8},
                     {"STATE"},
                     {"HOLDER", false, 12}};
    for (const Camera& camera : cameras) {
        table.rows.push_back(row_of(camera));
    }
    return table;
}

}  // namespace nuvctl
