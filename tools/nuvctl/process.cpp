#include "process.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <sstream>

namespace nuvctl {
namespace {

namespace fs = std::filesystem;

std::string command_of(pid_t id) {
    std::ifstream file("/proc/" + std::to_string(id) + "/comm");
    std::string command;
    // The kernel ends it with a line feed, but a command may contain some itself.
    std::getline(file, command, '\0');
    if (!command.empty() && command.back() == '\n') {
        command.pop_back();
    }
    return command;
}

// Fields of a process's or a thread's "stat".
constexpr std::size_t field_state = 0;
constexpr std::size_t field_flags = 6;
constexpr std::size_t field_threads = 17;
constexpr std::size_t field_start = 19;

/// Counted from the first one behind the command, which may hold anything but ends with the last
/// closing parenthesis. Empty when the process has ended, or is hidden.
std::vector<std::string> status_fields(const fs::path& folder) {
    std::ifstream file(folder / "stat");
    std::stringstream text;
    text << file.rdbuf();
    std::string line = text.str();
    line.erase(0, line.rfind(')') + 1);
    std::istringstream words(line);
    std::vector<std::string> fields;
    for (std::string word; words >> word;) {
        fields.push_back(word);
    }
    return fields.size() > field_start ? fields : std::vector<std::string>();
}

void read_status(Process& process) {
    std::ifstream file("/proc/" + std::to_string(process.id) + "/status");
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string key;
        words >> key;
        if (key == "Uid:") {
            uid_t real = 0;
            words >> real >> process.user;
        } else if (key == "RssShmem:") {
            unsigned long kilobytes = 0;
            words >> kilobytes;
            process.shares_memory = kilobytes > 0;
        }
    }
}

}  // namespace

std::optional<Process> find_process(pid_t id) {
    constexpr unsigned long of_the_kernel = 0x00200000;
    const std::vector<std::string> fields = status_fields("/proc/" + std::to_string(id));
    const std::vector<std::string> thread = status_fields(folder_of(id));
    if (fields.empty() || thread.empty()) {
        return std::nullopt;
    }
    const std::string& state = thread[field_state];
    Process process;
    process.id = id;
    process.command = command_of(id);
    process.start_ticks = std::strtoull(fields[field_start].c_str(), nullptr, 10);
    process.started = wall_clock(process.start_ticks);
    process.stopped = state == "T" || state == "t";
    process.in_user_space =
        state != "Z" && state != "X" &&
        (std::strtoul(fields[field_flags].c_str(), nullptr, 10) & of_the_kernel) == 0;
    read_status(process);
    return process;
}

fs::path folder_of(pid_t id) {
    fs::path process = "/proc/" + std::to_string(id);
    const std::vector<std::string> fields = status_fields(process);
    if (fields.empty() || fields[field_state] != "Z" || fields[field_threads] == "1") {
        return process;
    }
    std::error_code error;
    for (fs::directory_iterator entry(process / "task", error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().filename() != process.filename()) {
            return entry->path();
        }
    }
    return process;
}

std::vector<pid_t> process_ids() {
    std::vector<pid_t> ids;
    std::error_code error;
    for (fs::directory_iterator entry("/proc", error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename();
        if (const long id = std::strtol(name.c_str(), nullptr, 10); id > 0) {
            ids.push_back(static_cast<pid_t>(id));
        }
    }
    std::sort(ids.begin(), ids.end());
    return ids;
}

std::int64_t wall_clock(std::uint64_t ticks) {
    timespec now = {};
    timespec since_boot = {};
    clock_gettime(CLOCK_REALTIME, &now);
    clock_gettime(CLOCK_BOOTTIME, &since_boot);
    constexpr std::int64_t in_second = 1000000000;
    const auto per_second = static_cast<std::uint64_t>(sysconf(_SC_CLK_TCK));
    const std::int64_t boot =
        (now.tv_sec - since_boot.tv_sec) * in_second + now.tv_nsec - since_boot.tv_nsec;
    const auto after_boot = static_cast<std::int64_t>(ticks / per_second) * in_second +
                            static_cast<std::int64_t>(ticks % per_second) * in_second /
                                static_cast<std::int64_t>(per_second);
    return (boot + after_boot) / in_second;
}

}  // namespace nuvctl
