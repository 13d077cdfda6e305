#include "iftype_text.h"
#include "manager_session.h"
#include "registry_follower.h"
#include "registry_report.h"
#include "registry_view.h"
#include "service_notice.h"
#include "stop_signals.h"
#include "terminal.h"
#include "verb.h"

#include <nuv/bits.h>
#include <nuv/device_manager.h>

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace nuvctl {
namespace {

std::string running_interfaces() {
    std::vector<std::string> names;
    for (const auto& [iftype, back_end] : nuv_dev_manager->interface_list) {
        names.push_back(short_name(iftype));
    }
    std::sort(names.begin(), names.end());
    std::string text;
    for (const std::string& name : names) {
        text += " " + name;
    }
    return text.empty() ? " none" : text;
}

void announce_start() {
    std::cout << "device manager " << getpid() << " is running, interfaces:" << running_interfaces()
              << std::endl;
    if (nuv_dev_manager->m_general_bits & NUV_BIT_DIFFTIME_OUT) {
        std::cerr << "nuvctl: the registry was stale and has been cleared\n";
    }
}

void print(const Event& event) {
    std::cout << event_text(event) << std::endl;
}

/// The registry does not end with a full disk: other processes need it.
void complain_of_output() {
    if (!is_output_closed()) {
        std::cerr
            << "nuvctl: cannot write to standard output any more; the device manager goes on\n";
    }
}

/// Prints what changes in the registry until told to stop.
void follow(int registry, Stop_signals& signals) {
    Registry_follower follower([registry] { return look_at_registry(registry); });
    report_problem(follower.view());
    for (const Change& change : changes_between({}, follower.cameras())) {
        print({change, {}, change.detail});
    }
    bool named = true;
    bool heard = true;
    while (!signals.came_within(std::chrono::milliseconds(250))) {
        for (const Event& event : follower.look()) {
            print(event);
        }
        if (heard && !std::cout) {
            heard = false;
            complain_of_output();
        }
        if (named && follower.view().file && follower.view().file->st_nlink == 0) {
            named = false;
            std::cerr << "nuvctl: the registry's name was removed: new processes will not see it\n";
        }
    }
}

Exit run(const std::string& config) {
    Stop_signals signals;
    {
        const Manager_session session(config);
        if (session.started() != Exit::done) {
            return session.started();
        }
        announce_start();
        tell_service_manager("READY=1");
        follow(session.registry(), signals);
        tell_service_manager("STOPPING=1");
    }
    std::cout << "device manager " << getpid() << " has stopped" << std::endl;
    return Exit::done;
}

}  // namespace

Action declare_run(CLI::App& arguments) {
    auto config = std::make_shared<std::string>();
    arguments.add_option("--config", *config, "Use this INI file instead of the one found")
        ->check(CLI::ExistingFile);
    arguments.footer(
        "Prints a line for each camera that appears, goes, is opened, closed or renamed. It looks\n"
        "four times a second: what comes and goes faster is not seen.\n"
        "Started as a service of type notify, it says when it is ready and when it stops.\n"
        "SIGINT or SIGTERM shuts the manager down in order; a second one ends it at once.\n"
        "Example:\n"
        "  nuvctl run --config ./nuv_devicemgr.ini");
    return [config] { return run(*config); };
}

}  // namespace nuvctl
