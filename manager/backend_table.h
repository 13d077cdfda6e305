// The back-ends that the device manager creates.
#pragma once

#include <nuv/interface.h>

#include <array>
#include <memory>

namespace nuv {

struct Backend_row {
    unsigned short iftype;
    const char* class_name;
    const char* instance_name;  ///< what the log calls the new object
    bool announced;             ///< whether the log has a line before it is created
    std::unique_ptr<CNuv_interface> (*create)(CNuv_Log* log, unsigned int general_bits);
};

/// In the order of their creation.
extern const std::array<Backend_row, 6> backend_table;

}  // namespace nuv
