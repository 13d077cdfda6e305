// A verb is one file: it declares its arguments and hands back what is to be done with them.
#pragma once

#include "exit_code.h"

#include <functional>

namespace CLI {
class App;
}

namespace nuvctl {

using Action = std::function<Exit()>;

Action declare_completion(CLI::App& arguments);
Action declare_config(CLI::App& arguments);
Action declare_doctor(CLI::App& arguments);
Action declare_list(CLI::App& arguments);
Action declare_open(CLI::App& arguments);
Action declare_repair(CLI::App& arguments);
Action declare_run(CLI::App& arguments);
Action declare_show(CLI::App& arguments);
Action declare_status(CLI::App& arguments);
Action declare_wait(CLI::App& arguments);
Action declare_watch(CLI::App& arguments);
Action declare_who(CLI::App& arguments);

}  // namespace nuvctl
