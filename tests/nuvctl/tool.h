// The real nuvctl, with what it prints.
#pragma once

#include "support/child_process.h"
#include "support/text_of_file.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace nuv_test {

struct Outcome {
    int code = -1;
    std::string text;  ///< standard output
    std::vector<std::string> lines;
    std::string messages;  ///< standard error
};

std::string tool_path();

/// Words before a command that take root's right to open what its mode forbids.
inline const std::vector<std::string> as_ordinary_user = {
    "setpriv", "--bounding-set=-dac_override,-dac_read_search"};

/// Starts it; what it prints comes together, also to standard error.
Child start_tool(const std::vector<std::string>& arguments);

/// Runs the tool to its end. `before` are words of a command that starts it.
Outcome run_tool(const std::vector<std::string>& arguments,
                 const std::vector<std::string>& before = {});
/// What it answers with --json, when it ends with this code.
nlohmann::json answer(int code, std::vector<std::string> arguments,
                      const std::vector<std::string>& before = {});
/// These fields are in the answer, at any depth; arrays are compared whole.
void expect_fields(const nlohmann::json& answer, const nlohmann::json& fields);
/// What `who` answers of one process; null when it does not name it.
nlohmann::json said_of(pid_t process, const nlohmann::json& who);

}  // namespace nuv_test
