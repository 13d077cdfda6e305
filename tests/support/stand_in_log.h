// Stands in for the kit's log: hands every line to whoever asked instead of writing it.
//
// The program defines `CNuv_Log` itself, so its definition comes before that of the kit's log
// library in every library that is loaded.
#pragma once

#include <nuvkit/log.h>

#include <functional>
#include <memory>
#include <string>

namespace nuv_test {

struct Log_line {
    const CNuv_Log* log;
    unsigned int level;
    int source;
    std::string text;
};

/// A log for the library.
std::unique_ptr<CNuv_Log> make_log();

/// `seen` is called for every line, by the thread that writes it. Set before any thread is there.
void on_log_line(std::function<void(const Log_line& line)> seen);

}  // namespace nuv_test
