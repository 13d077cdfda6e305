// What the fuzzers share: a world of their own, and a way to fail.
#pragma once

namespace nuv_fuzz {

/// Has the process use a private /dev/shm and a private folder of INI files from here on.
void enter_world(char** argv);

/// Ends the process as a finding when an answer is wrong.
void require(bool holds, const char* what);

}  // namespace nuv_fuzz
