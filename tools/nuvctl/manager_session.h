// A device manager of this process, from start to orderly end.
#pragma once

#include "exit_code.h"
#include "private_config.h"

#include <optional>
#include <string>

namespace nuvctl {

/// Keeps `nuv_dev_manager` running while it lives. Block the stop signals first: its threads
/// inherit what the constructing thread blocks.
class Manager_session {
public:
    /// Starts it, with `config` in place of the configuration that would be found; empty: as found.
    /// A failure is reported on standard error.
    explicit Manager_session(const std::string& config);
    Manager_session(const Manager_session&) = delete;
    Manager_session& operator=(const Manager_session&) = delete;
    ~Manager_session();

    /// `Exit::done` while the manager runs.
    Exit started() const { return result; }
    /// The descriptor of the registry that the manager is attached to.
    int registry() const;

private:
    /// As long as the manager: its folder stays in the search path, and is to stay ours there.
    std::optional<Private_config> configuration;
    Exit result = Exit::failure;
};

}  // namespace nuvctl
