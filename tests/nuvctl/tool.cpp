#include "tool.h"

#include "support/child_process.h"
#include "support/private_world.h"

#include <fstream>
#include <sstream>

namespace nuv_test {

std::string tool_path() {
    return NUVCTL_PATH;
}

Outcome run_tool(const std::vector<std::string>& arguments,
                 const std::vector<std::string>& before) {
    const std::string messages = config_folder() + "/messages";
    std::vector<std::string> command{"/bin/sh", "-c", "exec \"$@\" 2>\"$0\"", messages};
    command.insert(command.end(), before.begin(), before.end());
    const std::vector<std::string> tool_command = startable({tool_path()});
    command.insert(command.end(), tool_command.begin(), tool_command.end());
    command.insert(command.end(), arguments.begin(), arguments.end());

    Child tool(command);
    Outcome outcome;
    while (const auto line = tool.read_line()) {
        outcome.lines.push_back(*line);
        outcome.text += *line + '\n';
    }
    outcome.code = tool.wait();
    std::ostringstream text;
    text << std::ifstream(messages).rdbuf();
    outcome.messages = text.str();
    return outcome;
}

nlohmann::json said_of(pid_t process, const Outcome& who) {
    const nlohmann::json answer = who.json();
    for (const nlohmann::json& one : answer["processes"]) {
        if (one["pid"] == process) {
            return one;
        }
    }
    return nullptr;
}

}  // namespace nuv_test
