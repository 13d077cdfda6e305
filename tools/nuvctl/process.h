// One process of this machine, as /proc shows it.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace nuvctl {

struct Process {
    pid_t id = 0;
    uid_t user = 0;                 ///< effective
    std::string command;            ///< as it is, not made safe
    std::uint64_t start_ticks = 0;  ///< clock ticks since boot
    std::int64_t started = 0;       ///< wall-clock seconds
    bool in_user_space = true;      ///< has not ended, and is no thread of the kernel
    bool stopped = false;           ///< by a signal or a debugger; other signals wait
    bool shares_memory = true;      ///< has at least one page of shared memory in core
};

/// Nothing when it has ended, or is hidden.
std::optional<Process> find_process(pid_t id);

/// Where the kernel shows what a process has open and mapped, and how it is: in its own folder, or
/// in that of another of its threads when the first has ended.
std::filesystem::path folder_of(pid_t id);

/// Every process that /proc lists, by ascending id.
std::vector<pid_t> process_ids();

/// Wall-clock seconds of a moment in clock ticks since boot.
std::int64_t wall_clock(std::uint64_t ticks);

}  // namespace nuvctl
