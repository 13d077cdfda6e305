#include "terminal.h"

#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utmp.h>

#include <stdexcept>

namespace nuv_test {

Terminal::Terminal(const std::vector<std::string>& command, unsigned short rows,
                   unsigned short columns) {
    std::vector<char*> words;
    for (const std::string& word : command) {
        words.push_back(const_cast<char*>(word.c_str()));
    }
    words.push_back(nullptr);
    int program_end = -1;
    if (openpty(&master, &program_end, nullptr, nullptr, nullptr) != 0) {
        throw std::runtime_error("openpty");
    }
    resize(rows, columns);
    program.emplace([&] {
        close(master);
        login_tty(program_end);
        execv(words[0], words.data());
    });
    close(program_end);
}

Terminal::~Terminal() {
    close(master);
}

bool Terminal::read_more() {
    pollfd ready{master, POLLIN, 0};
    char part[4096];
    const bool spoke = poll(&ready, 1, 30000) > 0;
    const ssize_t count = spoke ? read(master, part, sizeof part) : 0;
    if (count > 0) {
        seen.append(part, static_cast<std::size_t>(count));
    }
    return count > 0;
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
    return program->wait();
}

}  // namespace nuv_test
