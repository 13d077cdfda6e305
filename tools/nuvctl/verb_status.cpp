#include "json_output.h"
#include "reading_options.h"
#include "registry_report.h"
#include "registry_status.h"
#include "seconds.h"
#include "verb.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>

namespace nuvctl {
namespace {

struct Request {
    Reading_options options;
    double watch = 0.2;  ///< seconds
};

Exit status(const Request& request) {
    const Registry_status status = examine_registry(milliseconds_of(request.watch));
    report_problem(status.view);
    if (request.options.json) {
        print_json(status_to_json(status));
    } else {
        status_table(status).print(false, wants_color(request.options), 0);
    }
    return exit_code_for(status.view.state);
}

}  // namespace

Action declare_status(CLI::App& arguments) {
    auto request = std::make_shared<Request>();
    add_reading_options(arguments, request->options);
    arguments
        .add_option("--watch", request->watch, "Watch a semaphore that is held for so many seconds")
        ->check(seconds_between(0, 3600))
        ->capture_default_str()
        ->type_name("SECONDS");
    arguments.footer(
        "Managers that are counted but mapped by no process have died, and left their count.\n"
        "For how long a semaphore has been held is written nowhere: the tool looks every 5 ms. A\n"
        "scan or an open may rightly hold sem_update for seconds; --watch 10 tells more.\n"
        "Exit codes: 0 when the registry is live, 7 when it is absent or stale, 5 when it may not\n"
        "be read, 1 when it is too short or of another version.\n"
        "Examples:\n"
        "  nuvctl status\n"
        "  nuvctl status --json | jq .heartbeat.verdict");
    return [request] { return status(*request); };
}

}  // namespace nuvctl
