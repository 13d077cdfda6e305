#include "camera_table.h"
#include "json_output.h"
#include "look_interval.h"
#include "reading_options.h"
#include "registry_follower.h"
#include "registry_report.h"
#include "screen.h"
#include "stop_signals.h"
#include "terminal.h"
#include "time_text.h"
#include "verb.h"

#include <CLI/CLI.hpp>
#include <ctime>
#include <deque>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

namespace nuvctl {
namespace {

using nlohmann::ordered_json;

struct Request {
    Reading_options options;
    Look_interval interval;
};

std::string dated(const Event& event) {
    return time_text(std::time(nullptr)) + "  " + event_text(event);
}

ordered_json snapshot(const Registry_follower& follower) {
    ordered_json json = json_answer(follower.view());
    json["event"] = "snapshot";
    json["time"] = follower.view().looked_at;
    json["cameras"] = cameras_to_json(follower.cameras());
    return json;
}

ordered_json event_to_json(const Event& event, const Registry_view& view) {
    ordered_json json = json_answer(view);
    json["event"] = event.change ? word_of(event) : std::string("registry ") + word_of(event);
    json["time"] = view.looked_at;
    json["detail"] = event.detail;
    json["camera"] = event.change ? camera_to_json(event.change->camera) : ordered_json(nullptr);
    return json;
}

/// A line for each event, until told to stop, or until a line can't be written.
void print_events(const Request& request, Stop_signals& signals) {
    Registry_follower follower;
    if (request.options.json) {
        print_json_line(snapshot(follower));
    } else {
        report_problem(follower.view());
        std::cerr << "nuvctl: watching; cameras: " << follower.cameras().size() << '\n';
    }
    while (!signals.came_within(request.interval.duration()) && std::cout && !is_output_closed()) {
        for (const Event& event : follower.look()) {
            if (request.options.json) {
                print_json_line(event_to_json(event, follower.view()));
            } else {
                std::cout << dated(event) << std::endl;
            }
        }
    }
}

/// The cameras above, what happened last below.
class Picture {
public:
    explicit Picture(const Request& request) : options(request.options) {}

    void remember(const std::vector<Event>& events) {
        for (const Event& event : events) {
            history.push_back(dated(event));
        }
        while (history.size() > 100) {
            history.pop_front();
        }
    }

    std::vector<std::string> lines(const Registry_follower& follower) const {
        const Terminal_size size = terminal_size();
        std::vector<std::string> lines;
        if (!options.no_headings) {
            const std::string& problem = follower.view().problem;
            lines.push_back(time_text(follower.view().looked_at) + "  " +
                            (problem.empty() ? "the registry is live" : problem));
            lines.emplace_back();
        }
        for (std::string& line :
             camera_table(follower.cameras())
                 .lines(!options.no_headings, wants_color(options), size.columns)) {
            lines.push_back(std::move(line));
        }
        lines.emplace_back();
        const std::size_t room = size.rows > lines.size() ? size.rows - lines.size() : 0;
        const std::size_t shown = std::min(room, history.size());
        lines.insert(lines.end(), history.end() - static_cast<std::ptrdiff_t>(shown),
                     history.end());
        return lines;
    }

private:
    const Reading_options& options;
    std::deque<std::string> history;
};

/// A terminal that is given back to the shell for a while shows the shell's screen meanwhile.
void stay_stopped(std::optional<Screen>& screen) {
    screen.reset();
    raise(SIGSTOP);
    screen.emplace();
}

void redraw_in_place(const Request& request, Stop_signals& signals) {
    Registry_follower follower;
    Picture picture(request);
    std::optional<Screen> screen(std::in_place);
    for (int number = 0; !signals.stops(number) && std::cout;
         number = signals.next_within(request.interval.duration())) {
        if (number == SIGTSTP) {
            stay_stopped(screen);
        }
        picture.remember(follower.look());
        screen->draw(picture.lines(follower));
    }
}

Exit watch(const Request& request) {
    if (is_terminal_output() && !request.options.json) {
        Stop_signals signals{SIGWINCH, SIGTSTP};
        redraw_in_place(request, signals);
    } else {
        Stop_signals signals;
        print_events(request, signals);
    }
    return Exit::done;
}

}  // namespace

Action declare_watch(CLI::App& arguments) {
    auto request = std::make_shared<Request>();
    add_interval(arguments, request->interval);
    add_reading_options(arguments, request->options);
    arguments.footer(
        "On a terminal the list is redrawn in place; elsewhere each event is one line: camera ...\n"
        "appeared, gone, opened, closed, renamed; registry cleared, gone, back, stale, fresh. "
        "With\n"
        "--json a snapshot comes first, then one object a line. A registry that is removed and\n"
        "created anew is followed; where there is none yet, it is waited for.\n"
        "What comes and goes between two looks is not seen. SIGINT ends it with exit code 0.\n"
        "Examples:\n"
        "  nuvctl watch\n"
        "  nuvctl watch >> cameras.log\n"
        "  nuvctl watch --json | jq -c 'select(.event == \"gone\") | .camera.serial_number'");
    return [request] { return watch(*request); };
}

}  // namespace nuvctl
