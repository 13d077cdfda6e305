#include "process.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace nuvctl {
namespace {

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

/// Fields of /proc/PID/stat, counted from the first one behind the command, which may hold anything
/// but ends with the last closing parenthesis.
std::vector<std::string> status_fields(pid_t id) {
    std::ifstream file("/proc/" + std::to_string(id) + "/stat");
    std::stringstream text;
    text << file.rdbuf();
    std::string line = text.str();
    line.erase(0, line.rfind(')') + 1);
    std::istringstream words(line);
    std::vector<std::string> fields;
    for (std::string word; words >> word;) {
        fields.push_back(word);
    }
    return fields;
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
    constexpr std::size_t state = 0;
    constexpr std::size_t flags = 6;
    constexpr std::size_t threads = 17;
    constexpr std::size_t start = 19;
    constexpr unsigned long of_the_kernel = 0x00200000;
    const std::vector<std::string> fields = status_fields(id);
    if (fields.size() <= start) {
        return std::nullopt;
    }
    Process process;
    process.id = id;
    process.command = command_of(id);
    process.start_ticks = std::strtoull(fields[start].c_str(), nullptr, 10);
    process.started = wall_clock(process.start_ticks);
    process.stopped = fields[state] == "T" || fields[state] == "t";
    // A zombie with threads lives: only its first one has ended.
    const bool has_ended = fields[state] == "X" || (fields[state] == "Z" && fields[threads] == "1");
    process.in_user_space =
        !has_ended && (std::strtoul(fields[flags].c_str(), nullptr, 10) & of_the_kernel) == 0;
    read_status(process);
    return process;
}

std::vector<pid_t> process_ids() {
    std::vector<pid_t> ids;
    std::error_code error;
    for (std::filesystem::directory_iterator entry("/proc", error), end; !error && entry != end;
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
