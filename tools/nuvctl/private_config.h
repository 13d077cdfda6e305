// A configuration file of any name, used in place of the one that would be found.
#pragma once

#include <string>

namespace nuvctl {

/// While it lives, the INI locator finds `file` as the device manager's configuration; every other
/// INI file is found as before. Changes the environment: construct it before the first thread.
class Private_config {
public:
    /// \throws std::runtime_error when it is no readable file, or can't be set up
    explicit Private_config(const std::string& file);
    Private_config(const Private_config&) = delete;
    Private_config& operator=(const Private_config&) = delete;
    ~Private_config();

private:
    std::string folder;
    std::string link;
};

}  // namespace nuvctl
