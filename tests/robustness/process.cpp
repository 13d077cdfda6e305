#include "process.h"

#include "step_calls.h"

#include <sys/prctl.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <exception>
#include <system_error>
#include <utility>

namespace robustness {

void fail(const char* format, ...) {
    char text[500];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    throw Violation(text);
}

void keep_slowest(std::atomic<long>& slowest, long took) {
    long before = slowest;
    while (before < took && !slowest.compare_exchange_weak(before, took)) {
    }
}

long milliseconds_since(Clock::time_point start) {
    return static_cast<long>(
        std::chrono::duration_cast<milliseconds>(Clock::now() - start).count());
}

void interrupt_often() {
    struct sigaction nothing {};
    nothing.sa_handler = [](int) {};
    sigaction(SIGALRM, &nothing, nullptr);
    const timeval period{0, 100'000};
    const itimerval timer{period, period};
    setitimer(ITIMER_REAL, &timer, nullptr);
}

Process::Process(const std::function<int()>& body) {
    const pid_t parent = getpid();
    id = fork();
    if (id < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (id == 0) {
        forget_steps();
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) {
            _exit(126);
        }
        try {
            _exit(body());
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s\n", error.what());
        }
        _exit(99);
    }
}

Process::Process(Process&& other) noexcept
    : id(std::exchange(other.id, -1)), end(other.end), state(other.state) {}

Process& Process::operator=(Process&& other) noexcept {
    std::swap(id, other.id);
    std::swap(end, other.end);
    std::swap(state, other.state);
    return *this;
}

Process::~Process() {
    if (id > 0) {
        kill();
    }
}

void Process::signal(int number) const {
    if (state != State::ended) {
        ::kill(id, number);
    }
}

Process::State Process::look() {
    int status = 0;
    if (state == State::ended || waitpid(id, &status, WNOHANG | WUNTRACED | WCONTINUED) != id) {
        return state;
    }
    if (WIFSTOPPED(status)) {
        state = State::stopped;
    } else if (WIFCONTINUED(status)) {
        state = State::running;
    } else {
        state = State::ended;
        end = WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    }
    return state;
}

bool Process::wait_until_stopped_or_ended(milliseconds at_most) {
    return wait_for(at_most, [this] { return look() != State::running; });
}

bool Process::wait_until_ended(milliseconds at_most) {
    return wait_for(at_most, [this] { return look() == State::ended; });
}

void Process::kill() {
    signal(SIGKILL);
    while (look() != State::ended) {
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
}

}  // namespace robustness
