#include "support/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

namespace nuv_test {
namespace {

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

std::vector<char*> ending_with_null(std::vector<std::string>& words) {
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

sigset_t sigterm() {
    sigset_t term;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    return term;
}

/// Leaves the parent's static objects alone; but only a full exit has the libraries, each of which
/// keeps its own, write their counters.
[[noreturn]] void end_forked_child(int result) {
#ifdef NUV_COVERAGE
    std::exit(result);
#endif
    _exit(result);
}

}  // namespace

std::vector<std::string> startable(std::vector<std::string> command) {
    const char* emulator = std::getenv("NUV_TEST_EMULATOR");
    if (emulator != nullptr && command[0].rfind("/bin/", 0) != 0) {
        command.insert(command.begin(), emulator);
    }
    return command;
}

Process::Process(const std::function<void()>& body) {
    const pid_t parent = getpid();
    now.pid = fork();
    if (now.pid < 0) {
        fail("fork");
    }
    if (now.pid > 0) {
        return;
    }
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) {
        _exit(126);
    }
    try {
        body();
        end_forked_child(0);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    end_forked_child(99);
}

Process& Process::operator=(Process&& other) noexcept {
    std::swap(now, other.now);
    return *this;
}

Process::~Process() {
    if (now.pid > 0) {
        kill_and_wait();
    }
}

void Process::look(int options) {
    int status = 0;
    if (!now.ended && waitpid(now.pid, &status, options) == now.pid) {
        now.stopped = WIFSTOPPED(status);
        now.ended = WIFEXITED(status) || WIFSIGNALED(status);
        now.result = WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    }
}

bool Process::is_stopped() {
    look(WNOHANG | WUNTRACED | WCONTINUED);
    return now.stopped;
}

bool Process::has_ended() {
    look(WNOHANG | WUNTRACED | WCONTINUED);
    return now.ended;
}

int Process::wait() {
    while (!now.ended) {
        look(0);
    }
    return now.result;
}

void Process::signal(int number) const {
    if (!now.ended) {
        kill(now.pid, number);
    }
}

int Process::kill_and_wait() {
    signal(SIGKILL);
    return wait();
}

Process ready_process(const std::function<void(const Ready& is_ready)>& body) {
    const Shared<std::atomic<bool>> ready;
    Process process([&] {
        const sigset_t term = sigterm();
        sigprocmask(SIG_BLOCK, &term, nullptr);
        body([&] { *ready = true; });
    });
    while (!*ready) {
        if (process.has_ended()) {
            throw std::runtime_error("a process has ended before it was ready");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return process;
}

void wait_for_sigterm() {
    const sigset_t term = sigterm();
    int signal = 0;
    sigwait(&term, &signal);
}

Child::Pipe Child::make_pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        fail("pipe2");
    }
    return {ends[0], ends[1]};
}

Child::Child(const std::vector<std::string>& command) : Child(startable(command), make_pipe()) {}

Child::Child(std::vector<std::string> words, Pipe pipe)
    : Process([&, arguments = ending_with_null(words)] {
          dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
          dup2(pipe.write_end, STDOUT_FILENO);
          execv(arguments[0], arguments.data());
          _exit(127);
      }),
      output(pipe.read_end) {
    close(pipe.write_end);
}

Child::~Child() {
    kill_and_wait();  // before its output is gone
    close(output);
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

}  // namespace nuv_test
