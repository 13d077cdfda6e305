#include "member.h"

#include "expect.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <sstream>
#include <utility>

namespace demo {
namespace {

[[noreturn]] void become_member(int input, int output) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    execl("/proc/self/exe", "nuv_demo", "member", nullptr);
    _exit(127);
}

}  // namespace

Member::Member(std::string member_name) : own_name(std::move(member_name)) {
    int to_member[2];
    int from_member[2];
    expect(pipe2(to_member, O_CLOEXEC) == 0 && pipe2(from_member, O_CLOEXEC) == 0, "no pipe");
    process_id = fork();
    expect(process_id >= 0, "no process can be made");
    if (process_id == 0) {
        become_member(to_member[0], from_member[1]);
    }
    ::close(to_member[0]);
    ::close(from_member[1]);
    commands = fdopen(to_member[1], "w");
    answers = fdopen(from_member[0], "r");
    const std::vector<std::string> answer = ask("initialize");
    expect(answer == std::vector<std::string>{"0"},
           "the device manager of " + own_name + " does not start");
}

Member::~Member() {
    if (process_id > 0) {
        ::kill(process_id, SIGKILL);
        waitpid(process_id, nullptr, 0);
    }
    std::fclose(commands);
    std::fclose(answers);
}

std::vector<Camera_row> Member::cameras() {
    std::vector<Camera_row> rows;
    for (const std::string& line : ask("list")) {
        rows.push_back(from_line(line));
    }
    return rows;
}

Open_results Member::open(unsigned int id) {
    return ask_for_results("open " + std::to_string(id));
}

Open_results Member::close() {
    return ask_for_results("close");
}

void Member::kill() {
    ask("pause");
    ::kill(process_id, SIGKILL);
    int status = 0;
    waitpid(std::exchange(process_id, -1), &status, 0);
    expect(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL, own_name + " was not killed");
}

void Member::quit() {
    ask("quit");
    int status = 0;
    waitpid(std::exchange(process_id, -1), &status, 0);
    expect(WIFEXITED(status) && WEXITSTATUS(status) == 0, own_name + " did not end well");
}

// An answer is any number of lines and then a line with a full stop.
std::vector<std::string> Member::ask(const std::string& command) {
    std::fprintf(commands, "%s\n", command.c_str());
    std::fflush(commands);
    std::vector<std::string> lines;
    char line[512];
    while (std::fgets(line, sizeof line, answers) != nullptr) {
        std::string text(line);
        text.pop_back();
        if (text == ".") {
            return lines;
        }
        lines.push_back(text);
    }
    throw Not_as_expected(own_name + " ended when it was told to " + command);
}

Open_results Member::ask_for_results(const std::string& command) {
    const std::vector<std::string> lines = ask(command);
    expect(lines.size() == 1, own_name + " gave no answer to " + command);
    Open_results results;
    std::istringstream(lines[0]) >> results.grab >> results.com;
    return results;
}

}  // namespace demo
