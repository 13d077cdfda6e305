// A camera as the demo shows it, and as a member process tells of it.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

struct NUV_Device;

namespace demo {

struct Camera_row {
    unsigned int id = 0;
    unsigned int iftype = 0;
    unsigned int serialnumber = 0;
    unsigned int status_bits = 0;
    pid_t holder = 0;  ///< 0: nobody
    std::string name;
    std::string interface_name;

    bool is_open() const;
    bool operator==(const Camera_row& other) const;
};

Camera_row row_of(const NUV_Device& device);

/// One line, for the pipe between two processes, and back.
std::string to_line(const Camera_row& row);
Camera_row from_line(const std::string& line);

/// The row with this name; null when there is none.
const Camera_row* find(const std::vector<Camera_row>& rows, const std::string& name);

/// Prints the rows as a table. `own_name` gives a process its name in the story.
void print_table(const std::vector<Camera_row>& rows, std::string (*own_name)(pid_t));

}  // namespace demo
