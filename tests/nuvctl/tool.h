// The real nuvctl, with what it prints.
#pragma once

#include <sys/types.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace nuv_test {

struct Outcome {
    int code = -1;
    std::string text;  ///< standard output
    std::vector<std::string> lines;
    std::string messages;  ///< standard error

    nlohmann::json json() const { return nlohmann::json::parse(text); }
};

std::string tool_path();

/// Runs the tool to its end. `before` are words of a command that starts it.
Outcome run_tool(const std::vector<std::string>& arguments,
                 const std::vector<std::string>& before = {});
/// What `who --json` says of one process; null when it does not name it.
nlohmann::json said_of(pid_t process, const Outcome& who);

}  // namespace nuv_test
