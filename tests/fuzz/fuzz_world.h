// What the fuzzers share: a world of their own, a log that formats every line, and a way to fail.
#pragma once

#include <memory>

class CNuv_Log;

namespace nuv_fuzz {

/// Has the process use a private /dev/shm and a private folder of INI files from here on.
void enter_world(char** argv);

std::unique_ptr<CNuv_Log> make_log();

/// Ends the process as a finding when an answer is wrong.
void require(bool holds, const char* what);

}  // namespace nuv_fuzz
