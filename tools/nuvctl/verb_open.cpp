#include "camera_changes.h"
#include "interruptible.h"
#include "manager_session.h"
#include "process_text.h"
#include "registry_report.h"
#include "registry_view.h"
#include "result_text.h"
#include "stop_signals.h"
#include "verb.h"

#include <nuv/device_manager.h>
#include <nuv/result.h>

#include <nuvkit/backend.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <iostream>
#include <memory>

namespace nuvctl {
namespace {

struct Request {
    unsigned int id = 0;
    std::string config;
};

/// The entry as it is now; free of any camera when the id is unknown.
NUV_Device look_up(unsigned int id) {
    NUV_Device device = {};
    nuv_dev_manager->shm_mgr->get_nuvdevice_from_id(id, device);
    return device;
}

Exit report_refusal(unsigned int id, const char* what, unsigned int code) {
    const NUV_Device device = look_up(id);
    std::cerr << "nuvctl: camera " << id;
    if (code == NUV_BACKEND_BUSY) {
        const nuvkit::Holder holder = nuvkit::holder_of(device);
        std::cerr << " is in use" << (holder.process_id != 0 ? " by " + holder_text(holder) : "")
                  << '\n';
        return Exit::busy;
    }
    const bool known = id != 0 && device.id == id;
    if (code == NUV_BACKEND_UNPLUGGED ||
        (known && (device.status_bits & NUV_STATUS_PRESENT) == 0)) {
        std::cerr << " is unplugged\n";
        return Exit::not_found;
    }
    if (code == NUV_ERROR_NOT_FOUND && !known) {
        std::cerr << " is not in the registry\n";
        return Exit::not_found;
    }
    if (code == NUV_ERROR_NOT_FOUND) {
        std::cerr << " cannot be opened: its interface is not running in this process\n";
        return Exit::failure;
    }
    std::cerr << " cannot be opened: " << what << " answers " << result_text(code) << '\n';
    return Exit::failure;
}

bool closed(unsigned int id, const char* what, unsigned int code) {
    if (code != NUV_NOERROR) {
        std::cerr << "nuvctl: camera " << id << " cannot be closed: " << what << " answers "
                  << result_text(code) << '\n';
    }
    return code == NUV_NOERROR;
}

/// Ids are handed out anew when a registry is created or cleared: without a live one, the id that
/// was asked for means nothing.
Exit require_live_registry() {
    const Registry_view view = look_at_registry();
    report_problem(view);
    return exit_code_for(view.state);
}

/// An open waits for `sem_update` where it cannot be interrupted, and a living process may hold it
/// for long: so the wait is here. A dead holder's is freed by our manager's scans in a few seconds.
/// \return `Exit::done` when the semaphore was seen free
Exit wait_for_turn(int registry, Stop_signals& signals) {
    constexpr std::chrono::milliseconds pause(50);
    for (int tries = 0; tries < 600; ++tries) {
        const Registry_view view = look_at_registry(registry);
        if (!view.bytes || value_of(view.bytes->sem_update) > 0) {
            return Exit::done;
        }
        if (tries == 40) {
            std::cerr << "nuvctl: waiting: sem_update is held\n";
        }
        if (signals.came_within(pause)) {
            std::cerr << "nuvctl: interrupted while sem_update was held\n";
            return Exit::failure;
        }
    }
    std::cerr << "nuvctl: sem_update has been held at every look for 30 s\n";
    return Exit::timeout;
}

void announce(unsigned int id) {
    std::cout << "camera " << id << " is open: " << description(look_up(id)) << std::endl;
}

/// A camera's two open devices.
struct Devices {
    CNuv_grab* grab = nullptr;
    CNuv_com* com = nullptr;
};

Exit open_devices(unsigned int id, Devices& devices) {
    const unsigned int grab_code = nuv_dev_manager->open_grab_device_from_id(id, &devices.grab);
    if (grab_code != NUV_NOERROR) {
        return report_refusal(id, "the grabber", grab_code);
    }
    const unsigned int com_code = nuv_dev_manager->open_com_device_from_id(id, &devices.com);
    if (com_code != NUV_NOERROR) {
        closed(id, "the grabber", nuv_dev_manager->close_grab_device(devices.grab));
        return report_refusal(id, "the communication", com_code);
    }
    return Exit::done;
}

Exit close_devices(unsigned int id, const Devices& devices) {
    const bool com_closed =
        closed(id, "the communication", nuv_dev_manager->close_com_device(devices.com));
    const bool grab_closed =
        closed(id, "the grabber", nuv_dev_manager->close_grab_device(devices.grab));
    return com_closed && grab_closed ? Exit::done : Exit::failure;
}

Exit hold(unsigned int id, Stop_signals& signals) {
    Devices devices;
    Exit result = Exit::failure;
    const bool interrupted = run_interruptibly(
        signals, "interrupted: the open is let finish; a second signal ends nuvctl at once",
        [&] { result = open_devices(id, devices); });
    if (result != Exit::done) {
        return result;
    }
    if (interrupted) {
        close_devices(id, devices);
        return Exit::failure;
    }
    announce(id);
    signals.wait();
    result = close_devices(id, devices);
    if (result == Exit::done) {
        std::cout << "camera " << id << " is closed" << std::endl;
    }
    return result;
}

Exit open_camera(const Request& request) {
    Stop_signals signals;
    if (const Exit live = require_live_registry(); live != Exit::done) {
        return live;
    }
    const Manager_session session(request.config);
    if (session.started() != Exit::done) {
        return session.started();
    }
    const Exit turn = wait_for_turn(session.registry(), signals);
    return turn == Exit::done ? hold(request.id, signals) : turn;
}

}  // namespace

Action declare_open(CLI::App& arguments) {
    auto request = std::make_shared<Request>();
    arguments.add_option("id", request->id, "The camera's registry id, as `nuvctl list` shows it")
        ->required()
        ->type_name("ID");
    arguments.add_option("--config", request->config, "Use this INI file instead of the one found")
        ->check(CLI::ExistingFile);
    arguments.footer(
        "Opens the grabber and the communication device, and closes them at SIGINT or SIGTERM.\n"
        "Exit code 3 when no such camera is there, 4 when it is in use, 7 when no device manager\n"
        "runs: ids mean nothing then; 6 when sem_update was held for 30 s. Interrupted before the\n"
        "camera is open: 1.\n"
        "Example:\n"
        "  nuvctl open 3");
    return [request] { return open_camera(*request); };
}

}  // namespace nuvctl
