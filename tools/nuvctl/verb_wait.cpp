#include "camera_table.h"
#include "json_output.h"
#include "look_interval.h"
#include "reading_options.h"
#include "registry_report.h"
#include "safe_text.h"
#include "seconds.h"
#include "selector.h"
#include "terminal.h"
#include "verb.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <thread>

namespace nuvctl {
namespace {

using std::chrono::steady_clock;

struct Request {
    Reading_options options;
    Selector selector;
    bool gone = false;
    std::optional<double> timeout;  ///< seconds
    Look_interval interval;
};

/// The selected cameras that are there.
std::vector<Camera> present(const Registry_view& view, const Selector& selector) {
    std::vector<Camera> cameras;
    if (view.state == Registry_state::live) {
        cameras = selected(cameras_in(*view.bytes), selector);
    }
    cameras.erase(std::remove_if(cameras.begin(), cameras.end(),
                                 [](const Camera& camera) {
                                     return (camera.entry.status_bits & NUV_STATUS_PRESENT) == 0;
                                 }),
                  cameras.end());
    return cameras;
}

enum class Outlook { go_on, as_wanted, hopeless };

/// A stale registry tells neither that a camera is there nor that it is gone: its managers may be
/// stopped. Where there is no registry, nobody has a camera.
Outlook judge(const Registry_view& view, const std::vector<Camera>& found, bool gone) {
    switch (view.state) {
        case Registry_state::live:
            return found.empty() == gone ? Outlook::as_wanted : Outlook::go_on;
        case Registry_state::absent:
            return gone ? Outlook::as_wanted : Outlook::go_on;
        case Registry_state::stale:
            return Outlook::go_on;
        default:
            return Outlook::hopeless;
    }
}

class Deadline {
public:
    explicit Deadline(const std::optional<double>& seconds) {
        if (seconds) {
            moment = steady_clock::now() + milliseconds_of(*seconds);
        }
    }
    bool has_passed() const { return moment && steady_clock::now() >= *moment; }
    void sleep(std::chrono::milliseconds at_most) const {
        const auto end = steady_clock::now() + at_most;
        std::this_thread::sleep_until(moment ? std::min(end, *moment) : end);
    }

private:
    std::optional<steady_clock::time_point> moment;
};

Exit answer(const Request& request, const Registry_view& view, const std::vector<Camera>& found,
            Exit code) {
    if (request.options.json) {
        nlohmann::ordered_json json = json_answer(view);
        json["timed_out"] = code == Exit::timeout;
        json["cameras"] = cameras_to_json(found);
        print_json(json);
    } else if (!found.empty() && code == Exit::done) {
        camera_table(found).print(!request.options.no_headings, wants_color(request.options),
                                  table_width());
    }
    return code;
}

Exit wait_for(const Request& request) {
    const Deadline deadline(request.timeout);
    Registry_state said = Registry_state::live;
    for (;;) {
        const Registry_view view = look_at_registry();
        const std::vector<Camera> found = present(view, request.selector);
        if (view.state != said) {
            said = view.state;
            report_problem(view);
        }
        switch (judge(view, found, request.gone)) {
            case Outlook::as_wanted:
                return answer(request, view, found, Exit::done);
            case Outlook::hopeless:
                return answer(request, view, found, exit_code_for(view.state));
            case Outlook::go_on:
                break;
        }
        if (deadline.has_passed()) {
            std::cerr << "nuvctl: the time is up, and camera \"" << safe_text(request.selector.text)
                      << "\" is " << (request.gone ? "still" : "not") << " there\n";
            return answer(request, view, found, Exit::timeout);
        }
        deadline.sleep(request.interval.duration());
    }
}

}  // namespace

Action declare_wait(CLI::App& arguments) {
    auto request = std::make_shared<Request>();
    add_selector(arguments, request->selector);
    arguments.add_flag("--gone", request->gone, "Wait until no such camera is there");
    arguments.add_option("--timeout", request->timeout, "Wait at most so many seconds")
        ->check(seconds_between(0, 1e9))
        ->type_name("SECONDS");
    add_interval(arguments, request->interval);
    add_reading_options(arguments, request->options);
    arguments.footer(
        "Prints the selected cameras that are there. Where there is no registry, or a stale one, "
        "it\n"
        "says so and goes on waiting; with --gone, where there is no registry no camera is there.\n"
        "Exit code 0 when it has come about, 6 when the time was up before, and at once 5 or 1 for "
        "a\n"
        "registry that may not be read or is none.\n"
        "Examples:\n"
        "  nuvctl wait sn:21001 --timeout 30 && start_recording\n"
        "  nuvctl wait USB3\n"
        "  nuvctl wait 'Left eye' --gone");
    return [request] { return wait_for(*request); };
}

}  // namespace nuvctl
