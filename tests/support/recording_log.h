// Keeps every line that the library writes.
#pragma once

#include "support/stand_in_log.h"
#include "support/text_of_file.h"

#include <string>
#include <utility>
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

/// Regular expressions, and what stands for what they match.
using Replacements = std::vector<std::pair<std::string, std::string>>;

/// The record as text, to be compared with a file of the lines that are documented: each line as
/// "20000000 2 TEXT", its source and its level before it, and without what differs from run to run.
/// A line of which nothing is left is left out.
std::string told(const Log_record& record, const Replacements& changing);

}  // namespace nuv_test
