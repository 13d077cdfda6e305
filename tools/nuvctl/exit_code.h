// What the tool answers to the shell.
#pragma once

namespace nuvctl {

enum class Exit {
    done = 0,
    failure = 1,
    usage = 2,
    not_found = 3,
    busy = 4,
    permission = 5,
    timeout = 6,
    no_registry = 7,  ///< absent, or stale
};

}  // namespace nuvctl
