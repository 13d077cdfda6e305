// A program on a pseudo-terminal.
#pragma once

#include "support/child_process.h"

#include <string>
#include <vector>

namespace nuv_test {

class Terminal {
public:
    Terminal(const std::vector<std::string>& command, unsigned short rows, unsigned short columns);
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal();

    /// Reads on until all of it was written. False when that does not come; `seen` tells then what
    /// did.
    bool shows(const std::string& text);
    /// What was written since the last success of `shows`.
    std::string seen;

    void resize(unsigned short rows, unsigned short columns) const;
    void type(const std::string& keys) const;
    /// Reads what is left in `seen`. \return the exit status, or minus the signal that ended it
    int wait();

private:
    bool read_more();

    int master = -1;
    std::optional<Process> program;
};

}  // namespace nuv_test
