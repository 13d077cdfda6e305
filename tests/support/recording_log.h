// Keeps every line that the library writes.
#pragma once

#include "support/stand_in_log.h"

#include <string>
#include <vector>

namespace nuv_test {

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
