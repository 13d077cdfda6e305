// Plays a session of several processes with bench cameras. Run it by ./dev demo, which gives it a
// registry of its own.
#include "member.h"
#include "story.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <string>

namespace {

constexpr unsigned int LONGEST_SESSION = 120;  // seconds

void give_up(int /*signal*/) {
    constexpr char message[] = "\nThe demo failed: it is stuck.\n";
    const ssize_t ignored = write(STDERR_FILENO, message, sizeof message - 1);
    _exit(ignored > 0 ? 1 : 2);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && argv[1] == std::string("member")) {
        return demo::run_member();
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGALRM, give_up);
    alarm(LONGEST_SESSION);
    try {
        demo::tell_story();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "\nThe demo failed: %s.\n", error.what());
        return 1;
    }
}
