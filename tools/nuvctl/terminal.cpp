#include "terminal.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

namespace nuvctl {

bool is_terminal_output() {
    return isatty(STDOUT_FILENO) == 1;
}

bool is_output_closed() {
    pollfd output{STDOUT_FILENO, 0, 0};
    return poll(&output, 1, 0) > 0 && (output.revents & (POLLERR | POLLHUP)) != 0;
}

Terminal_size terminal_size() {
    winsize size = {};
    ioctl(STDOUT_FILENO, TIOCGWINSZ, &size);
    Terminal_size result;
    if (size.ws_col > 0 && size.ws_row > 0) {
        result = {size.ws_col, size.ws_row};
    }
    return result;
}

std::size_t table_width() {
    constexpr std::size_t least = 80;
    return is_terminal_output() ? std::max(terminal_size().columns, least) : 0;
}

}  // namespace nuvctl
