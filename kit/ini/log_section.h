// The [LOG] section of an INI file.
#pragma once

#include <nuvkit/log.h>

#include <optional>
#include <string>

namespace nuv {

/// Reads the section's keys of <nuvkit/config_keys.h>.
///
/// Without File, or with an empty one, and without Console, the file is `NAME.%p.log`, NAME being
/// that of the INI file without its ending, in `$XDG_STATE_HOME/nuv` (or `~/.local/state/nuv`); a
/// process without a home folder writes to standard error instead.
///
/// \return nothing when the file cannot be read, has no such section, or Level is 0
std::optional<CNuv_Log::Settings> read_log_section(const std::string& path,
                                                   const std::string& name);

}  // namespace nuv
