#include "terminal.h"

#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

namespace nuv_test {

Terminal::Terminal(const std::vector<std::string>& command, unsigned short rows,
                   unsigned short columns) {
    std::vector<char*> words;
    for (const std::string& word : command) {
        words.push_back(const_cast<char*>(word.c_str()));
    }
    words.push_back(nullptr);
    const winsize size{rows, columns, 0, 0};
    process = forkpty(&master, nullptr, nullptr, &size);
    if (process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        execv(words[0], words.data());
        _exit(127);
    }
    if (process < 0) {
        throw std::runtime_error("forkpty");
    }
}

Terminal::~Terminal() {
    if (process > 0) {
        kill(process, SIGKILL);
        wait();
    }
    close(master);
}

bool Terminal::read_more() {
    pollfd ready{master, POLLIN, 0};
    char part[4096];
    if (poll(&ready, 1, 30000) <= 0) {
        return false;
    }
    const ssize_t count = read(master, part, sizeof part);
    if (count <= 0) {
        return false;
    }
    seen.append(part, static_cast<std::size_t>(count));
    return true;
}

bool Terminal::shows(const std::string& text) {
    while (seen.find(text) == std::string::npos) {
        if (!read_more()) {
            return false;
        }
    }
    seen.erase(0, seen.find(text) + text.size());
    return true;
}

void Terminal::resize(unsigned short rows, unsigned short columns) const {
    const winsize size{rows, columns, 0, 0};
    ioctl(master, TIOCSWINSZ, &size);
}

void Terminal::type(const std::string& keys) const {
    if (write(master, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size())) {
        throw std::runtime_error("write to the terminal");
    }
}

int Terminal::wait() {
    while (read_more()) {
    }
    int status = 0;
    waitpid(process, &status, 0);
    process = -1;
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace nuv_test
