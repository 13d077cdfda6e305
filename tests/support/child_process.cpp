#include "support/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <system_error>
#include <utility>

namespace nuv_test {
namespace {

constexpr char ROLE_ARGUMENT[] = "--role";

// Found before main enters its mount namespace: the link then still names a file of the old one,
// beside which the dynamic linker may find no libraries.
const std::string own_path = std::filesystem::read_symlink("/proc/self/exe").string();

std::map<std::string, Role>& roles() {
    static std::map<std::string, Role> all;
    return all;
}

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

Register_role::Register_role(const char* name, Role role) {
    roles()[name] = role;
}

bool is_role(int argc, char** argv) {
    return argc >= 3 && argv[1] == std::string(ROLE_ARGUMENT);
}

int run_role(int argc, char** argv) {
    const auto role = roles().find(argv[2]);
    if (role == roles().end()) {
        std::fprintf(stderr, "there is no role %s\n", argv[2]);
        return 1;
    }
    setvbuf(stdout, nullptr, _IOLBF, 0);
    return role->second({argv + 3, argv + argc});
}

std::vector<std::string> startable(std::vector<std::string> command) {
    const char* emulator = std::getenv("NUV_TEST_EMULATOR");
    if (emulator != nullptr && command[0].rfind("/bin/", 0) != 0) {
        command.insert(command.begin(), emulator);
    }
    return command;
}

Child::Child(const std::vector<std::string>& command) {
    const std::vector<std::string> words = startable(command);
    std::vector<char*> arguments;
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);

    int to_child[2];
    int from_child[2];
    if (pipe2(to_child, O_CLOEXEC) != 0 || pipe2(from_child, O_CLOEXEC) != 0) {
        fail("pipe2");
    }
    process_id = fork();
    if (process_id < 0) {
        fail("fork");
    }
    if (process_id == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(to_child[0], STDIN_FILENO);
        dup2(from_child[1], STDOUT_FILENO);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    close(to_child[0]);
    close(from_child[1]);
    input = to_child[1];
    output = from_child[0];
}

Child Child::in_role(const std::string& role, const std::vector<std::string>& arguments) {
    std::vector<std::string> command{own_path, ROLE_ARGUMENT, role};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return Child(command);
}

Child::Child(Child&& other) noexcept
    : process_id(std::exchange(other.process_id, -1)),
      input(std::exchange(other.input, -1)),
      output(std::exchange(other.output, -1)),
      unread(std::move(other.unread)) {}

Child::~Child() {
    if (process_id > 0) {
        kill_and_wait();
    }
    close_input();
    if (output >= 0) {
        close(output);
    }
}

void Child::send_line(const std::string& line) const {
    const std::string text = line + '\n';
    if (write(input, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        fail("write to the child");
    }
}

void Child::close_input() {
    if (input >= 0) {
        close(std::exchange(input, -1));
    }
}

std::optional<std::string> Child::read_line(std::chrono::milliseconds silence) {
    std::size_t end = unread.find('\n');
    while (end == std::string::npos) {
        pollfd ready{output, POLLIN, 0};
        char part[4096];
        const bool spoke = poll(&ready, 1, static_cast<int>(silence.count())) > 0;
        const ssize_t count = spoke ? read(output, part, sizeof part) : 0;
        if (count <= 0) {
            return std::nullopt;
        }
        unread.append(part, static_cast<std::size_t>(count));
        end = unread.find('\n');
    }
    std::string line = unread.substr(0, end);
    unread.erase(0, end + 1);
    return line;
}

void Child::signal(int number) const {
    kill(process_id, number);
}

int Child::wait() {
    int status = 0;
    while (waitpid(process_id, &status, 0) < 0) {
        if (errno != EINTR) {
            fail("waitpid");
        }
    }
    process_id = -1;
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

int Child::kill_and_wait(int number) {
    signal(number);
    return wait();
}

}  // namespace nuv_test
