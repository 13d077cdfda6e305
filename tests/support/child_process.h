// Real processes for tests: the test program started again in a role, or any other program.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <csignal>
#include <optional>
#include <string>
#include <vector>

namespace nuv_test {

/// What the test program does when it is started in a role: its standard input and output are pipes
/// to the test, its result is the exit status.
using Role = int (*)(const std::vector<std::string>& arguments);

/// Makes a role known, as a static object of a test file.
struct Register_role {
    Register_role(const char* name, Role role);
};

/// The command as this machine can start it: programs of another architecture by the emulator that
/// NUV_TEST_EMULATOR names.
std::vector<std::string> startable(std::vector<std::string> command);

/// A child in the test's private world, with pipes to its input and output. It is killed when this
/// object goes, and when the thread that started it ends.
class Child {
public:
    /// \throws std::system_error when the program cannot be started
    explicit Child(const std::vector<std::string>& command);
    static Child in_role(const std::string& role, const std::vector<std::string>& arguments = {});
    Child(Child&& other) noexcept;
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child();

    pid_t pid() const { return process_id; }
    void send_line(const std::string& line) const;
    void close_input();
    /// The next line of its output. Nothing when it ends first or says nothing for so long.
    std::optional<std::string> read_line(
        std::chrono::milliseconds silence = std::chrono::seconds(30));
    void signal(int number) const;
    /// Waits for its end. \return the exit status, or minus the signal that ended it
    int wait();
    int kill_and_wait(int number = SIGKILL);

private:
    pid_t process_id = -1;
    int input = -1;
    int output = -1;
    std::string unread;
};

bool is_role(int argc, char** argv);
int run_role(int argc, char** argv);

}  // namespace nuv_test
