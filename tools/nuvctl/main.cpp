#include "safe_text.h"
#include "terminal.h"
#include "verb.h"

#include <locale.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

using nuvctl::Action;
using nuvctl::Exit;

namespace {

struct Verb {
    const char* name;
    const char* summary;
    Action (*declare)(CLI::App& arguments);
};

constexpr Verb verbs[] = {
    {"list", "Every camera in the registry (the default)", nuvctl::declare_list},
    {"show", "One camera with every field", nuvctl::declare_show},
    {"status", "The registry itself: managers, heartbeat, entries, semaphores",
     nuvctl::declare_status},
    {"who", "The processes that are attached or hold a camera", nuvctl::declare_who},
    {"watch", "The cameras and the registry as they change", nuvctl::declare_watch},
    {"wait", "Wait until a camera is there, or gone", nuvctl::declare_wait},
    {"doctor", "Check the registry, its users and the configuration", nuvctl::declare_doctor},
    {"repair", "Mend what doctor finds", nuvctl::declare_repair},
    {"run", "Run a device manager in the foreground until interrupted", nuvctl::declare_run},
    {"config", "The configuration: every key, its value and where it comes from",
     nuvctl::declare_config},
    {"open", "Open a camera and hold it until interrupted", nuvctl::declare_open},
    {"completion", "Print the script that completes these words in a shell",
     nuvctl::declare_completion},
};

constexpr char exit_code_help[] =
    "Exit codes: 0 done, 1 failure (also a registry that is too short or of another version),\n"
    "2 usage, 3 not found, 4 busy, 5 permission, 6 timeout, 7 registry absent or stale.";

/// The words after the program's name, in reverse as CLI11 wants them; "list" when there is no
/// verb.
std::vector<std::string> reversed_arguments(int count, char** words) {
    std::vector<std::string> arguments(words + (count > 0 ? 1 : 0), words + count);
    const bool starts_with_option = !arguments.empty() && arguments[0].rfind('-', 0) == 0;
    const bool is_about_tool =
        starts_with_option &&
        (arguments[0] == "-h" || arguments[0] == "--help" || arguments[0] == "--version");
    if (arguments.empty() || (starts_with_option && !is_about_tool)) {
        arguments.insert(arguments.begin(), "list");
    }
    return {arguments.rbegin(), arguments.rend()};
}

/// The first word that is no option. Empty when there is none.
std::string called_verb(const std::vector<std::string>& reversed) {
    const auto found = std::find_if(reversed.rbegin(), reversed.rend(), [](const auto& word) {
        return word.empty() || word[0] != '-';
    });
    return found != reversed.rend() ? *found : "";
}

Exit run_tool(int count, char** words) {
    CLI::App tool("See and use the cameras in this machine's device registry.", "nuvctl");
    tool.set_version_flag("--version", "nuvctl " NUVCTL_VERSION);
    tool.footer(exit_code_help);
    tool.require_subcommand(1);
    std::vector<std::string> arguments = reversed_arguments(count, words);
    const std::string called = called_verb(arguments);
    Action chosen;
    for (const Verb& verb : verbs) {
        CLI::App* const described = tool.add_subcommand(verb.name, verb.summary);
        if (verb.name == called) {
            chosen = verb.declare(*described);
        }
    }
    if (!chosen && arguments.back()[0] != '-') {
        std::cerr << "nuvctl: there is no verb \"" << nuvctl::safe_text(arguments.back())
                  << "\"; nuvctl --help lists them\n";
        return Exit::usage;
    }
    try {
        tool.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            tool.exit(error);  // prints what was asked for
            return Exit::done;
        }
        std::cerr << "nuvctl: " << nuvctl::safe_text(error.what())
                  << "\nnuvctl --help, or --help behind a verb, tells more.\n";
        return Exit::usage;
    }
    return chosen();
}

}  // namespace

int main(int count, char** words) {
    // Names in the registry are UTF-8 whatever the user's locale is.
    setlocale(LC_CTYPE, "C.UTF-8");
    Exit code = Exit::failure;
    try {
        code = run_tool(count, words);
    } catch (const std::exception& error) {
        std::cerr << "nuvctl: " << error.what() << '\n';
    }
    // A reader that has seen enough, as in `nuvctl watch | head`, is no failure.
    if (!std::cout.flush() && !nuvctl::is_output_closed()) {
        std::cerr << "nuvctl: cannot write to standard output\n";
        code = code == Exit::done ? Exit::failure : code;
    }
    return static_cast<int>(code);
}
