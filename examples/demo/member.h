// A process that takes part in the session, seen from the one that tells the story.
#pragma once

#include "camera_row.h"

#include <sys/types.h>

#include <cstdio>
#include <string>
#include <vector>

namespace demo {

struct Open_results {
    unsigned int grab = 0;
    unsigned int com = 0;
};

/// This program started again: a device manager that is told what to do through a pipe.
class Member {
public:
    /// Starts the process and waits until its device manager runs.
    explicit Member(std::string member_name);
    Member(const Member&) = delete;
    Member& operator=(const Member&) = delete;
    ~Member();

    const std::string& name() const { return own_name; }
    pid_t pid() const { return process_id; }
    /// The cameras that are there, as this process finds them in the registry.
    std::vector<Camera_row> cameras();
    /// Opens grabber and communication of a camera; closes both.
    Open_results open(unsigned int id);
    Open_results close();
    /// Kills it with SIGKILL, between two of its scans: whoever dies in the middle of one takes the
    /// scan's lock along.
    void kill();
    /// Lets it destroy its device manager and end.
    void quit();

private:
    std::vector<std::string> ask(const std::string& command);
    Open_results ask_for_results(const std::string& command);

    std::string own_name;
    pid_t process_id = -1;
    std::FILE* commands = nullptr;
    std::FILE* answers = nullptr;
};

/// The body of such a process. \return its exit status
int run_member();

}  // namespace demo
