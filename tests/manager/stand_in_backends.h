// Stand in for the kit's six back-ends: each does what the test has laid down for its type.
//
// The test program defines the classes itself, so its definitions come before those of the kit's
// libraries, and the manager constructs these.
#pragma once

#include <nuv/interface.h>

#include <atomic>
#include <functional>

namespace manager_test {

struct Stand_in {
    // What it is to do.
    bool throws_in_constructor = false;
    bool throws_in_initialize = false;
    bool throws_in_calls = false;
    unsigned int initialize_result = 0;
    unsigned int update_result = 0;
    unsigned int open_result = 0;
    unsigned int close_result = 0;
    bool hands_out_one_handle = false;
    std::function<void()> during_call;  ///< in an update, an open or a close

    // What was done to it.
    int constructed = 0;
    int destroyed = 0;
    CNuv_Log* log = nullptr;
    unsigned int bits = 0;
    bool difftime_out = false;
    std::atomic<int> updates{0};  ///< begun
    int opens = 0;
    int closes = 0;
};

/// The six that stand in, by interface type.
Stand_in& stand_in(unsigned short iftype);
void reset_stand_ins();

}  // namespace manager_test
