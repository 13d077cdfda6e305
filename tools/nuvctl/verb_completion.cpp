#include "completion_script.h"
#include "verb.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <string>

namespace nuvctl {

Action declare_completion(CLI::App& arguments) {
    static std::string shell;  // the parser writes to it after this returns
    arguments.add_option("shell", shell, "The shell that is to complete: bash")
        ->required()
        ->check(CLI::IsMember({"bash"}))
        ->type_name("SHELL");
    arguments.footer(
        "Prints the script that an installation puts where bash finds it by itself.\n"
        "Example:\n"
        "  source <(nuvctl completion bash)");
    return [] {
        std::cout << completion_script;
        return Exit::done;
    };
}

}  // namespace nuvctl
