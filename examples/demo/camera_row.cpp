#include "camera_row.h"

#include <nuv/device.h>

#include <nuvkit/holder.h>

#include <cstdio>
#include <cstring>
#include <sstream>

namespace demo {
namespace {

std::string text_of(const char (&name)[NUV_NAME_SIZE]) {
    return {name, strnlen(name, NUV_NAME_SIZE)};
}

}  // namespace

bool Camera_row::is_open() const {
    return (status_bits & (NUV_STATUS_GRAB_OPEN | NUV_STATUS_COM_OPEN)) != 0;
}

bool Camera_row::operator==(const Camera_row& other) const {
    return to_line(*this) == to_line(other);
}

Camera_row row_of(const NUV_Device& device) {
    Camera_row row;
    row.id = device.id;
    row.iftype = device.nuv_iftype;
    row.serialnumber = device.serialnumber;
    row.status_bits = device.status_bits;
    row.holder = nuvkit::holder_of(device).process_id;
    row.name = text_of(device.cameraname);
    row.interface_name = text_of(device.interfacename);
    return row;
}

std::string to_line(const Camera_row& row) {
    std::ostringstream line;
    line << row.id << ' ' << row.iftype << ' ' << row.serialnumber << ' ' << row.status_bits << ' '
         << row.holder << ' ' << row.name << '\t' << row.interface_name;
    return line.str();
}

Camera_row from_line(const std::string& line) {
    std::istringstream words(line);
    Camera_row row;
    words >> row.id >> row.iftype >> row.serialnumber >> row.status_bits >> row.holder;
    words.ignore();
    std::getline(words, row.name, '\t');
    std::getline(words, row.interface_name);
    return row;
}

const Camera_row* find(const std::vector<Camera_row>& rows, const std::string& name) {
    for (const Camera_row& row : rows) {
        if (row.name == name) {
            return &row;
        }
    }
    return nullptr;
}

void print_table(const std::vector<Camera_row>& rows, std::string (*own_name)(pid_t)) {
    std::printf("\n    %3s  %-14s %8s  %-30s %s\n", "id", "camera", "serial", "interface", "state");
    for (const Camera_row& row : rows) {
        const std::string state = row.is_open() ? "in use by " + own_name(row.holder) : "free";
        std::printf("    %3u  %-14s %8u  %-30s %s\n", row.id, row.name.c_str(), row.serialnumber,
                    row.interface_name.c_str(), state.c_str());
    }
    std::printf("\n");
}

}  // namespace demo
