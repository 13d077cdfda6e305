// What in the device manager's INI file says something else than its author may think.
#pragma once

#include "config_file.h"

#include <string>
#include <vector>

namespace nuvctl {

struct Config_remark {
    int line = 0;      ///< 0: the file as a whole
    std::string what;  ///< in words, safe to print
    /// The registry will look dead to others while its managers live.
    bool starves_heartbeat = false;
};

/// "FILE:12: what", safe to print.
std::string remark_text(const Config_file& file, const Config_remark& remark);

/// In the order of the lines. None: every line was understood, and the values go together.
std::vector<Config_remark> remarks_on(const Config_file& file);

}  // namespace nuvctl
