// Stands in for the kit's log: keeps every line instead of writing it.
//
// The test program defines `CNuv_Log` itself, so its definition comes before that of the kit's log
// library in every library that is loaded.
#pragma once

#include <nuvkit/log.h>

#include <memory>
#include <string>
#include <vector>

namespace nuv_test {

struct Log_line {
    const CNuv_Log* log;
    unsigned int level;
    int source;
    std::string text;
};

/// A log that a test hands to the library.
std::unique_ptr<CNuv_Log> make_log();

/// The lines of all logs, in order, since this object was made; one at a time. When the test has
/// failed they are printed at its end.
class Log_record {
public:
    Log_record() { clear(); }
    Log_record(const Log_record&) = delete;
    Log_record& operator=(const Log_record&) = delete;
    ~Log_record();

    std::vector<Log_line> lines() const;
    /// The texts alone, of one log or of all.
    std::vector<std::string> texts(const CNuv_Log* log = nullptr) const;
    bool contains(const std::string& part) const;
    void clear();
};

}  // namespace nuv_test
