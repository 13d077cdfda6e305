#include "tool.h"

#include "support/private_world.h"

#include <gtest/gtest.h>

namespace nuv_test {

namespace {

Child by_shell(const std::vector<std::string>& script, const std::vector<std::string>& before,
               const std::vector<std::string>& arguments) {
    std::vector<std::string> command{"/bin/sh", "-c"};
    for (const auto& words : {script, before, startable({tool_path()}), arguments}) {
        command.insert(command.end(), words.begin(), words.end());
    }
    return Child(command);
}

}  // namespace

std::string tool_path() {
    return NUVCTL_PATH;
}

Child start_tool(const std::vector<std::string>& arguments) {
    return by_shell({"exec \"$@\" 2>&1", "sh"}, {}, arguments);
}

Outcome run_tool(const std::vector<std::string>& arguments,
                 const std::vector<std::string>& before) {
    const std::string messages = config_folder() + "/messages";
    Child tool = by_shell({"exec \"$@\" 2>\"$0\"", messages}, before, arguments);
    Outcome outcome;
    while (const auto line = tool.read_line()) {
        outcome.lines.push_back(*line);
        outcome.text += *line + '\n';
    }
    outcome.code = tool.wait();
    outcome.messages = text_of_file(messages);
    return outcome;
}

nlohmann::json answer(int code, std::vector<std::string> arguments,
                      const std::vector<std::string>& before) {
    arguments.emplace_back("--json");
    const Outcome outcome = run_tool(arguments, before);
    EXPECT_EQ(outcome.code, code) << arguments[0] << ' ' << outcome.messages;
    return nlohmann::json::parse(outcome.text);
}

void expect_fields(const nlohmann::json& answer, const nlohmann::json& fields) {
    nlohmann::json expected = answer;
    expected.merge_patch(fields);
    EXPECT_EQ(answer, expected);
}

nlohmann::json said_of(pid_t process, const nlohmann::json& who) {
    for (const nlohmann::json& one : who["processes"]) {
        if (one["pid"] == process) {
            return one;
        }
    }
    return nullptr;
}

}  // namespace nuv_test
