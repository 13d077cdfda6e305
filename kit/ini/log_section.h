// The [LOG] section of an INI file.
#pragma once

#include <nuvkit/log.h>

#include <optional>
#include <string>

namespace nuv {

/// Reads the section. Its keys, in any case; numbers as strtoul reads them with base 0, text that
/// is no number being 0:
///
/// | Key        | Meaning                                                     | Without the key |
/// |------------|-------------------------------------------------------------|-----------------|
/// | Level      | bits of the levels that are written: 0x1 failures, 0x2      | 0x9             |
/// |            | trace, 0x8 threads, 0x80000 every cycle; 0: no log at all   |                 |
/// | Sources    | bits of the classes that are written: 0x80000000 manager,   | 0xF0000000      |
/// |            | 0x40000000 back-ends, 0x20000000 registry, 0x10000000       |                 |
/// |            | semaphores                                                  |                 |
/// | Interfaces | of the back-ends, those of these types: bit n for type n    | 0xFFFFFFFF      |
/// | File       | the file's name; %p is the process id, %% a percent sign.   | see below       |
/// |            | Without %p only one process may use it                      |                 |
/// | Console    | also to standard error: on when the value contains "ena" or | off             |
/// |            | is a number other than 0, as the manager's switches         |                 |
/// | MaxSize    | bytes after which the file is renamed (a.log to a.1.log)    | 10485760        |
/// |            | and begun anew; 0: never                                    |                 |
/// | MaxFiles   | renamed files that are kept, at most 1000                   | 5               |
///
/// Without File, or with an empty one, and without Console, the file is `NAME.%p.log`, NAME being
/// that of the INI file without its ending, in `$XDG_STATE_HOME/nuv` (or `~/.local/state/nuv`); a
/// process without a home folder writes to standard error instead.
///
/// \return nothing when the file cannot be read, has no such section, or Level is 0
std::optional<CNuv_Log::Settings> read_log_section(const std::string& path,
                                                   const std::string& name);

}  // namespace nuv
