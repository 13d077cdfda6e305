// Real processes for tests: forked, or any other program; and what forked ones share.
#pragma once

#include <sys/mman.h>
#include <sys/types.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <vector>

namespace nuv_test {

/// A forked process. It is killed when this object goes, and when the thread that started it ends.
class Process {
public:
    /// What the body throws goes to standard error; the process then ends with 99.
    /// \throws std::system_error when there is no room for another process
    explicit Process(const std::function<void()>& body);
    Process(Process&& other) noexcept { *this = std::move(other); }
    Process& operator=(Process&& other) noexcept;
    ~Process();

    pid_t pid() const { return now.pid; }
    void signal(int number) const;
    bool is_stopped();
    bool has_ended();
    /// Waits for its end. \return the exit status, or minus the signal that ended it
    int wait();
    int kill_and_wait();

private:
    struct State {
        pid_t pid = -1;
        bool stopped = false;
        bool ended = false;
        int result = 0;
    };
    void look(int options);

    State now;
};

struct Unmap {
    template <class Value>
    void operator()(Value* value) const {
        munmap(value, sizeof(Value));
    }
};

/// Memory that is shared with all processes that are forked later.
template <class Value>
struct Shared : std::unique_ptr<Value, Unmap> {
    Shared()
        : std::unique_ptr<Value, Unmap>(new (mmap(nullptr, sizeof(Value), PROT_READ | PROT_WRITE,
                                                  MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Value) {}
};

using Ready = std::function<void()>;
/// A forked process whose body calls the function it is handed when it is ready; this waits for
/// that. \throws std::runtime_error when the process ends before
Process ready_process(const std::function<void(const Ready& is_ready)>& body);
/// In such a process: until it gets SIGTERM.
void wait_for_sigterm();

/// The command as this machine can start it: programs of another architecture by the emulator that
/// NUV_TEST_EMULATOR names.
std::vector<std::string> startable(std::vector<std::string> command);

/// A program in the test's private world, without input and with a pipe to its output.
class Child : public Process {
public:
    explicit Child(const std::vector<std::string>& command);
    ~Child();

    /// The next line of its output. Nothing when it ends first or says nothing for so long.
    std::optional<std::string> read_line(
        std::chrono::milliseconds silence = std::chrono::seconds(30));

private:
    struct Pipe {
        int read_end;
        int write_end;
    };
    static Pipe make_pipe();
    Child(std::vector<std::string> words, Pipe pipe);

    int output;
    std::string unread;
};

}  // namespace nuv_test
