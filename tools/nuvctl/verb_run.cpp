#include "camera_changes.h"
#include "iftype_text.h"
#include "manager_session.h"
#include "registry_report.h"
#include "registry_view.h"
#include "service_notice.h"
#include "stop_signals.h"
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

using std::chrono::milliseconds;

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

/// Prints what changes in the registry until told to stop.
void follow(int registry, Stop_signals& signals) {
    std::vector<Camera> known;
    std::string problem;
    bool named = true;
    do {
        const Registry_view view = look_at_registry(registry);
        if (view.bytes) {
            problem.clear();
        } else {
            if (problem != view.problem) {
                report_problem(view);
                problem = view.problem;
            }
            continue;
        }
        std::vector<Camera> cameras = cameras_in(*view.bytes);
        for (const Change& change : changes_between(known, cameras)) {
            std::cout << change_text(change) << std::endl;
        }
        known = std::move(cameras);
        if (named && view.file->st_nlink == 0) {
            named = false;
            std::cerr << "nuvctl: the registry's name was removed: new processes will not see it\n";
        }
    } while (!signals.came_within(milliseconds(250)));
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
